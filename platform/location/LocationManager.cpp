#include "platform/location/LocationManager.h"

namespace orvane::platform {

LocationManager::LocationManager(std::shared_ptr<foundation::DispatchQueue> callbackQueue)
    : _callbackQueue(std::move(callbackQueue)), _shared(std::make_shared<Shared>()) {
    _shared->manager = this;
}

LocationManager::~LocationManager() {
    std::lock_guard lock(_shared->mutex);
    _shared->manager = nullptr;
    _shared->delegate = nullptr;
}

void LocationManager::setDelegate(LocationManagerDelegate* delegate) {
    std::lock_guard lock(_shared->mutex);
    _shared->delegate = delegate;
}

void LocationManager::setDistanceFilter(double metres) {
    std::lock_guard lock(_shared->mutex);
    _shared->distanceFilter = metres;
}

void LocationManager::deliver(const Location& location) {
    std::optional<Location> previous;
    {
        std::lock_guard lock(_shared->mutex);
        auto& last = _shared->lastDelivered;
        if (last && _shared->distanceFilter > 0 &&
            location.distanceFromLocation(*last) < _shared->distanceFilter) {
            return;
        }
        previous = last;
        last = location;
    }
    _callbackQueue->async([shared = _shared, location, previous] {
        LocationManager* manager;
        LocationManagerDelegate* delegate;
        {
            std::lock_guard lock(shared->mutex);
            manager = shared->manager;
            delegate = shared->delegate;
        }
        if (manager && delegate) {
            delegate->locationManagerDidUpdateToLocation(*manager, location, previous);
        }
    });
}

void LocationManager::deliverFailure(const foundation::Error& error) {
    _callbackQueue->async([shared = _shared, error] {
        LocationManager* manager;
        LocationManagerDelegate* delegate;
        {
            std::lock_guard lock(shared->mutex);
            manager = shared->manager;
            delegate = shared->delegate;
        }
        if (manager && delegate) {
            delegate->locationManagerDidFailWithError(*manager, error);
        }
    });
}

}  // namespace orvane::platform
