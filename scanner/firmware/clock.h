// The scanner's clock: a steady clock that runs at the chosen speed.
#pragma once

#include <chrono>

namespace scanner {

class Clock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Source = TimePoint (*)();

    /// @param source  where the real time comes from; tests have their own
    explicit Clock(Source source = std::chrono::steady_clock::now);

    /// 1 is the pace of a real scanner. At 0 nothing in the scanner takes any time.
    void SetSpeed(double factor);
    bool Instant() const { return speed_ == 0; }

    /// Seconds of the scanner's time. At speed 0 they pass like real ones.
    double Now() const;
    /// Real seconds, for everything that is about the host's pace and not the scanner's.
    double RealNow() const;
    /// Real moment at which the scanner's time will be `seconds`; now when that is past.
    TimePoint Moment(double seconds) const;
    /// Real moment at which the scanner will have taken `seconds` more of its time.
    TimePoint After(double seconds) const { return Instant() ? source_() : Moment(Now() + seconds); }

private:
    Source source_;
    TimePoint start_, base_; // base_: when the speed was last set
    double baseSeconds_ = 0, speed_ = 1;
};

} // namespace scanner
