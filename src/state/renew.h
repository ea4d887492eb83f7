// The shared state as a session, or the whole library, finds it at its beginning.
#pragma once

namespace k274 {

/// What a session of the monitor thread begins with, whatever the one before left. The host's options, its
/// posted requests, the link state and the results of the last scan outlive a session. Monitor thread.
void RenewSession();

/// All records as at load, but for the life cycle and the large images, which every scan fills. No thread of
/// the library may be running.
void RenewState();

} // namespace k274
