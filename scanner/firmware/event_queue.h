// Texts for the host that wait to be fetched, oldest first.
#pragma once

#include "wire/events.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace scanner {

class EventQueue {
public:
    /// Cuts the text to wire::event::kMostTextBytes. False when the queue is full: what happened first
    /// explains the rest.
    bool Post(std::string_view text);
    bool Empty() const { return count_ == 0; }
    /// The oldest text, zero-terminated; empty when there is none.
    const char *Front() const { return Empty() ? "" : texts_[first_].data(); }
    void DropFront();
    void Clear() { count_ = 0; }

private:
    static constexpr size_t kTexts = 32;
    std::array<std::array<char, wire::event::kMostTextBytes + 1>, kTexts> texts_{};
    size_t first_ = 0, count_ = 0;
};

} // namespace scanner
