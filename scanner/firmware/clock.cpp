// Turns real time into the scanner's and back.
#include "scanner/firmware/clock.h"

#include <algorithm>

namespace scanner {
namespace {

using Seconds = std::chrono::duration<double>;

// Nobody waits longer than this in one go; it keeps far moments of a very slow clock within bounds.
constexpr double kFarthest = 3600;

} // namespace

Clock::Clock(Source source) : source_(source), start_(source()), base_(start_) {}

void Clock::SetSpeed(double factor) {
    baseSeconds_ = Now();
    base_ = source_();
    speed_ = factor;
}

double Clock::Now() const {
    return baseSeconds_ + Seconds(source_() - base_).count() * (Instant() ? 1 : speed_);
}

double Clock::RealNow() const { return Seconds(source_() - start_).count(); }

Clock::TimePoint Clock::Moment(double seconds) const {
    const double ahead = std::clamp((seconds - Now()) / (Instant() ? 1 : speed_), 0.0, kFarthest);
    return source_() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(Seconds(ahead));
}

} // namespace scanner
