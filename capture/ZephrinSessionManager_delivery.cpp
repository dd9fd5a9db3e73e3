// The session manager's delivery: the finished movie given to the photo library by the access
// level the user granted, into the program's album.
#include "capture/ZephrinSessionManager.h"

#include <system_error>

#include "foundation/exceptions.h"
#include "foundation/log.h"
#include "foundation/strings.h"

namespace orvane::capture {

void ZephrinSessionManager::recorderDidFinishRecording(MovieRecorder&) {
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_status != RecordingStatus::StoppingRecording) {
            throw foundation::InternalInconsistencyException(
                "Expected to be in StoppingRecording state");
        }
    }
    deliverMovie();
}

void ZephrinSessionManager::deliverMovie() {
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_draft) {
            _draft->releaseReserve();
        }
    }
    auto self = shared_from_this();
    auto library = _environment.library;
    library->requestAuthorizationForAccessLevel(
        platform::PHAccessLevel::ReadWrite,
        [self, library](platform::PHAuthorizationStatus answer) {
            self->_mainQueue->async([self, library, answer] {
                using platform::PHAuthorizationStatus;
                if (answer == PHAuthorizationStatus::Authorized) {
                    self->_recorderDidFinishRecording(0);
                } else if (answer == PHAuthorizationStatus::Limited) {
                    self->_recorderDidFinishRecording(1);
                } else if (answer == PHAuthorizationStatus::Denied) {
                    library->requestAuthorizationForAccessLevel(
                        platform::PHAccessLevel::AddOnly, [self](PHAuthorizationStatus addOnly) {
                            self->_mainQueue->async([self, addOnly] {
                                if (addOnly == PHAuthorizationStatus::Authorized) {
                                    self->_recorderDidFinishRecording(2);
                                } else {
                                    self->deliveryFailed(std::nullopt);
                                }
                            });
                        });
                } else {
                    self->deliveryFailed(std::nullopt);
                }
            });
        });
}

void ZephrinSessionManager::deliveryFailed(const std::optional<foundation::Error>&) {
    std::error_code ignored;
    std::filesystem::remove(movieURL(), ignored);
    foundation::ObjectLockGuard guard(_lock);
    if (auto delegate = _delegate.lock(); delegate) {
        _mainQueue->async([delegate] { delegate->showPhotoAccessDeniedError(); });
    }
    _transitionToStatus(RecordingStatus::Idle, std::nullopt);
}

void ZephrinSessionManager::_recorderDidFinishRecording(int permissionStatus) {
    std::filesystem::path url;
    std::optional<std::string> name;
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_status != RecordingStatus::StoppingRecording) {
            throw foundation::InternalInconsistencyException(
                "Expected to be in StoppingRecording state");
        }
        url = _movieURL;
        name = _movieFileName;
    }
    auto placeholder = std::make_shared<std::string>();
    auto self = shared_from_this();
    _environment.library->performChanges(
        [&](platform::PhotoLibraryChanges& changes) {
            platform::PHAssetResourceCreationOptions options;
            options.originalFilename = name;
            options.shouldMoveFile = true;
            *placeholder = changes.addResourceWithTypeFileURL(platform::PHAssetResourceType::Video,
                                                              url, options);
        },
        [self, placeholder, permissionStatus, url](bool success,
                                                   const std::optional<foundation::Error>& error) {
            self->_mainQueue->async([self, placeholder, permissionStatus, url, success, error] {
                std::shared_ptr<ZephrinSessionManagerDelegate> delegate;
                {
                    foundation::ObjectLockGuard guard(self->_lock);
                    delegate = self->_delegate.lock();
                }
                if (!success) {
                    if (delegate) {
                        delegate->insertMediaFile(std::nullopt, error);
                    }
                } else if (permissionStatus == 0 || permissionStatus == 1) {
                    std::error_code ignored;
                    std::filesystem::remove(url, ignored);
                    const auto assets =
                        self->_environment.library->fetchAssetsWithLocalIdentifiers({*placeholder});
                    if (delegate && !assets.values.empty()) {
                        delegate->movieDidSave(assets.values.front());
                        // The thumbnail may come after the manager and its screen are gone:
                        // the library's queue holds neither.
                        std::weak_ptr<ZephrinSessionManagerDelegate> weakDelegate = delegate;
                        self->_environment.library->requestImageForAsset(
                            *placeholder, 256,
                            [mainQueue = self->_mainQueue, weakDelegate](
                                const std::optional<platform::PhotoThumbnail>& thumb,
                                const std::optional<foundation::Error>&) {
                                if (thumb) {
                                    mainQueue->async([weakDelegate, thumb] {
                                        if (auto screen = weakDelegate.lock()) {
                                            screen->setNewFileThumbnail(*thumb);
                                        }
                                    });
                                }
                            });
                    }
                    if (const auto album = self->getCollection()) {
                        const std::string identifier = *placeholder;
                        self->_environment.library->performChanges(
                            [&](platform::PhotoLibraryChanges& changes) {
                                changes.addAssets(album->localIdentifier, {identifier});
                            },
                            [](bool, const std::optional<foundation::Error>& albumError) {
                                if (albumError) {
                                    foundation::log("The movie was not added to the album: %s",
                                                    albumError->message().c_str());
                                }
                            });
                    }
                } else if (delegate) {
                    delegate->movieDidSaveUnseen(*placeholder);
                }
                self->finishDelivery();
            });
        });
}

std::optional<platform::PhotoAlbum> ZephrinSessionManager::getCollection() {
    const std::string title = _environment.albumTitle.empty()
                                  ? std::string(foundation::localized("Orvane"))
                                  : _environment.albumTitle;
    if (auto album = _environment.library->albumWithTitle(title)) {
        return album;
    }
    // The first capture makes the album; it goes in from the second on.
    _environment.library->performChanges(
        [&](platform::PhotoLibraryChanges& changes) {
            changes.creationRequestForAssetCollectionWithTitle(title);
        },
        [](bool, const std::optional<foundation::Error>& error) {
            if (error) {
                foundation::log("The album cannot be made: %s", error->message().c_str());
            }
        });
    return std::nullopt;
}

void ZephrinSessionManager::finishDelivery() {
    foundation::ObjectLockGuard guard(_lock);
    if (_status != RecordingStatus::StoppingRecording) {
        throw foundation::InternalInconsistencyException(
            "Expected to be in StoppingRecording state");
    }
    const auto endedEarly = _recordingError;
    _transitionToStatus(RecordingStatus::Idle, endedEarly);
}

}  // namespace orvane::capture
