// The link to the scanner, as the polls show it.
#pragma once

namespace k274 {

/// Sets the link state by the outcome of the first poll.
void LinkStart(bool answered);

/// One step of the link state after a poll.
/// @param sendGood  whether the last send went out
void LinkStep(bool sendGood);

} // namespace k274
