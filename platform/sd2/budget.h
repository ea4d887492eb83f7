// Time keeping of one decode. Not everything can be interrupted, so an attempt is only started when one half
// as long again as the last of its kind would still end in time.
#pragma once

#include <chrono>

namespace sd2 {

class Stopwatch {
public:
    explicit Stopwatch(int limitMs) : limitMs_(limitMs) {}
    double ElapsedMs() const {
        return std::chrono::duration<double, std::milli>(Clock::now() - begin_).count();
    }
    double LimitMs() const { return limitMs_; }
    bool Expired() const { return ElapsedMs() >= limitMs_; }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point begin_ = Clock::now();
    double limitMs_;
};

class Attempts {
public:
    explicit Attempts(const Stopwatch &watch) : watch_(watch) {}

    const Stopwatch &Watch() const { return watch_; }
    bool MayStart() const { return watch_.ElapsedMs() + 1.5 * lastMs_ < watch_.LimitMs(); }

    /// Runs one attempt and notes how long it took.
    template <typename Attempt>
    bool Run(const Attempt &attempt) {
        const double begin = watch_.ElapsedMs();
        const bool success = attempt();
        lastMs_ = watch_.ElapsedMs() - begin;
        return success;
    }

private:
    const Stopwatch &watch_;
    double lastMs_ = 0;
};

} // namespace sd2
