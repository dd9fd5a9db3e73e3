#include "screen/settings_gl_view.h"

#include "screen/settings_view_controller.h"

namespace orvane::screen {

bool ZephrinOpenGLViewStore::isHaveRun() const {
    return _d.boolForKey("haverun");
}

void ZephrinOpenGLViewStore::SetHaveRun() {
    _d.setBool("haverun", true);
}

bool ZephrinOpenGLViewStore::isHaveRun2() const {
    return _d.boolForKey("haverun2");
}

void ZephrinOpenGLViewStore::SetHaveRun2() {
    _d.setBool("haverun2", true);
}

bool ZephrinOpenGLViewStore::isPowerSaveMode() const {
    return _d.boolForKey("PowerSaveMode");
}

float ZephrinOpenGLViewStore::getPowerSaveBrightness() const {
    return readPowerSaveBrightness(_d);
}

std::int64_t ZephrinOpenGLViewStore::getTimePosition() const {
    return _d.integerForKey("timePosition");
}

void ZephrinOpenGLViewStore::saveTimePosition(std::int64_t position) {
    _d.setInteger("timePosition", position);
}

std::int64_t ZephrinOpenGLViewStore::getEffectIndex() const {
    return _d.integerForKey("effectIndex");
}

void ZephrinOpenGLViewStore::saveEffectIndex(std::int64_t index) {
    _d.setInteger("effectIndex", index);
}

std::int64_t ZephrinOpenGLViewStore::getBackgroundIndex() const {
    return _d.integerForKey("backgroundIndex");
}

void ZephrinOpenGLViewStore::saveBackgroundIndex(std::int64_t index) {
    _d.setInteger("backgroundIndex", index);
}

std::int64_t ZephrinOpenGLViewStore::getParticleIndex() const {
    return _d.integerForKey("particleIndex");
}

void ZephrinOpenGLViewStore::saveParticleIndex(std::int64_t index) {
    _d.setInteger("particleIndex", index);
}

std::int64_t ZephrinOpenGLViewStore::getPaperIndex() const {
    return _d.integerForKey("paperIndex");
}

void ZephrinOpenGLViewStore::savePaperIndex(std::int64_t index) {
    _d.setInteger("paperIndex", index);
}

std::int64_t ZephrinOpenGLViewStore::getPenColorIndex() const {
    return _d.integerForKey("penColor");
}

void ZephrinOpenGLViewStore::savePenColorIndex(std::int64_t index) {
    _d.setInteger("penColor", index);
}

std::int64_t ZephrinOpenGLViewStore::getWorldCupIndex() const {
    return _d.integerForKey("worldCup");
}

void ZephrinOpenGLViewStore::saveWorldCupIndex(std::int64_t index) {
    _d.setInteger("worldCup", index);
}

}  // namespace orvane::screen
