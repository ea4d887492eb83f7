// The worker threads that decode beside the scan.
#pragma once

namespace k274 {

/// After the visible-light pass: starts the decoders that the decode mode asks for. Monitor thread.
void StartBarcodeDecode();

} // namespace k274
