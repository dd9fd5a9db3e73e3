// Whether the application is active: the shell sets it as the desktop session hides or shows
// the program, and the frame path reads it to leave GL alone while the program is away.
#pragma once

namespace orvane::foundation {

// True until the shell says otherwise. Any thread.
bool isAppActive();
void setAppActive(bool active);

}  // namespace orvane::foundation
