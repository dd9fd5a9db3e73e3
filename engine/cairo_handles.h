// Owning handles for Cairo's image surfaces, drawing contexts and patterns: the platform's, under
// the engine's names.
#pragma once

#include "platform/image/cairo_handles.h"

namespace orvane::engine {

using platform::Cairo;
using platform::CairoDeleter;
using platform::CairoPattern;
using platform::CairoPatternDeleter;
using platform::CairoSurface;
using platform::CairoSurfaceDeleter;

}  // namespace orvane::engine
