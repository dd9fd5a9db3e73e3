// Text lookups as the stamp makes them on every frame, beside the plain gettext call they wrap:
// a key the English catalogue answers in the C locale, a key nothing translates, and a key the
// user's own catalogue translates.
#include <benchmark/benchmark.h>
#include <libintl.h>

#include <cstdlib>
#include <cstring>

#include "foundation/strings.h"

namespace {

using orvane::foundation::initializeStrings;
using orvane::foundation::localized;

// Switches the language and reads the catalogues beside the program (the build tree's
// share/locale); false when they are not built.
bool useLanguage(const char* lcAll, const char* language) {
    setenv("LC_ALL", lcAll, 1);
    if (language) {
        setenv("LANGUAGE", language, 1);
    } else {
        unsetenv("LANGUAGE");
    }
    initializeStrings();
    return std::strcmp(localized("STRNone"), "STRNone") != 0;
}

void lookUp(benchmark::State& state, const char* lcAll, const char* language, const char* key) {
    if (!useLanguage(lcAll, language)) {
        state.SkipWithError("no catalogues beside the program: build orvane_catalogues");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(localized(key));
    }
}

void BM_LocalizedEnglishFallback(benchmark::State& state) {
    lookUp(state, "C", nullptr, "meter");
}
BENCHMARK(BM_LocalizedEnglishFallback);

void BM_LocalizedUntranslated(benchmark::State& state) {
    lookUp(state, "C", nullptr, "Speed");
}
BENCHMARK(BM_LocalizedUntranslated);

void BM_LocalizedChinese(benchmark::State& state) {
    lookUp(state, "C.UTF-8", "zh_CN", "Speed");
}
BENCHMARK(BM_LocalizedChinese);

// The reference: gettext alone, with the same catalogue.
void BM_DgettextChinese(benchmark::State& state) {
    if (!useLanguage("C.UTF-8", "zh_CN")) {
        state.SkipWithError("no catalogues beside the program: build orvane_catalogues");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(dgettext("orvane", "Speed"));
    }
}
BENCHMARK(BM_DgettextChinese);

}  // namespace
