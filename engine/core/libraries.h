// Process-wide MLT and FFmpeg set-up: the factory is started once, on the
// module folder beside the library when it is there, and the libraries'
// own log output is collected instead of printed so that a failure is
// reported as one line naming its cause.
#pragma once

#include <string>

#include <mlt-7/framework/mlt.h>

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace orma {

/// Routes FFmpeg's log lines to the engine (kept as the last error, printed
/// only with ORMA_VERBOSE=1). Called before any FFmpeg use.
void QuietLibraries();

/// Starts MLT once per process; false (and a log line) when it cannot.
bool EnsureMlt();

/// Whether a hardware device of `type` opens on this machine (`device` as
/// FFmpeg takes it, or null); the device is closed again at once.
bool HardwareDeviceOpens(AVHWDeviceType type, const char* device);

/// FFmpeg's text for one of its error codes.
std::string AvError(int code);

/// The last error line MLT or FFmpeg logged (empty when none), and clearing it.
std::string LastLibraryError();
void ClearLibraryError();

} // namespace orma
