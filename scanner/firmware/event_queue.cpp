// A ring of event texts.
#include "scanner/firmware/event_queue.h"

#include <algorithm>

namespace scanner {

bool EventQueue::Post(std::string_view text) {
    if (count_ == kTexts)
        return false;
    auto &entry = texts_[(first_ + count_) % kTexts];
    const size_t length = std::min(text.size(), wire::event::kMostTextBytes);
    std::copy_n(text.begin(), length, entry.begin());
    entry[length] = 0;
    count_++;
    return true;
}

void EventQueue::DropFront() {
    if (Empty())
        return;
    first_ = (first_ + 1) % kTexts;
    count_--;
}

} // namespace scanner
