// Loopback exchanges, counted and timed.
#include "tools/k274/commands/loopback.h"

#include <string>

#include "include/k274.h"
#include "tools/k274/base/output.h"
#include "tools/k274/scan/session.h"

namespace host {

Loopback RunLoopback(Session &session, Output &output, int count, int length) {
    constexpr int kTold = 500;
    struct EndTest { // polling begins again, whatever happens
        ~EndTest() { K274_UsbTest(0, 0); }
    } end;
    Loopback result;
    const Clock::time_point start = Clock::now();
    for (int n = 1; n <= count; ++n) {
        if (K274_UsbTest(n, static_cast<uint32_t>(length)) != 0)
            ++result.failed;
        session.ShowUntil(Clock::now());
        if (n % kTold == 0)
            output.Progress("exchange " + std::to_string(n) + " of " + std::to_string(count));
    }
    const std::chrono::duration<double> took = Clock::now() - start;
    result.rate = static_cast<double>(count - result.failed) * length / took.count() / 1e6;
    return result;
}

} // namespace host
