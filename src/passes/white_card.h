// Recognition of a white card by the short barcode that it carries.
#pragma once

#include <cstdint>

namespace k274 {

/// Reads the card's barcode, forward or backward, sets the image processor's identity fields and tells the
/// scanner the card's number. The device lock is held.
/// @return false when neither direction gives a white card's text
bool RecogniseWhiteCard();

/// Logs what kind of card was recognised.
void LogWhiteCard();

/// What follows a finished scan of a maintenance card: calibration or verification, and its outcome state.
void FactoryVerify();

/// A card read forward: stores the raw response in the scanner. A card read backward: only checks.
/// @return whether the response was stored; of a reversed card, whether it is flat
bool Verify(int32_t variant);

} // namespace k274
