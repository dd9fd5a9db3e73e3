#include "compositor/effects_catalogue.h"

#include "foundation/strings.h"

namespace orvane::compositor {
namespace {

// The row at `index`, else the row of the setting's first value.
template <typename Table>
const auto& rowOr(const Table& table, std::int64_t index, std::size_t firstValue) {
    if (index < 0 || static_cast<std::size_t>(index) >= table.size()) {
        return table[firstValue];
    }
    return table[static_cast<std::size_t>(index)];
}

// The first value of the setting stored under `key`, as a row of its table.
constexpr std::size_t firstRow(std::string_view key) {
    for (const EffectSetting& setting : kEffectSettings) {
        if (setting.key == key) {
            return static_cast<std::size_t>(setting.firstValue);
        }
    }
    return 0;
}

}  // namespace

const FilmFilter& filmFilter(std::int64_t effectIndex) {
    return rowOr(kFilmFilters, effectIndex, firstRow("effectIndex"));
}

const ParticleEffect& particleEffect(std::int64_t particleIndex) {
    return rowOr(kParticleEffects, particleIndex, firstRow("particleIndex"));
}

RGB clearColor(std::int64_t backgroundIndex) {
    return rowOr(kClearColors, backgroundIndex, firstRow("backgroundIndex"));
}

RGB penColor(std::int64_t penColorIndex) {
    return rowOr(kPenColors, penColorIndex, firstRow("penColor"));
}

const char* filmFilterLabel(std::int64_t effectIndex) {
    return foundation::localized(filmFilter(effectIndex).label);
}

int numberOfItems(EffectList list) {
    switch (list) {
        case EffectList::FilmFilters:
            return kFilmFilterCount;
        case EffectList::Particles:
            return kParticleCount;
        case EffectList::Other:
            break;
    }
    return 0;
}

}  // namespace orvane::compositor
