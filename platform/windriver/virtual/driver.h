// One opened driver that serves the virtual scanner: tells the host of its coming and going on a thread of
// its own, and takes the host's transfers to it, through the faults that tests have armed.
#pragma once

#include "platform/windriver/base/backend.h"
#include "platform/windriver/base/news.h"
#include "scanner/firmware/scanner.h"

#include <memory>
#include <optional>

namespace wdapi {

class VirtualDriver : public Backend, public std::enable_shared_from_this<VirtualDriver> {
public:
    VirtualDriver(scanner::Scanner &scanner, const WDU_MATCH_TABLE *tables, uint32_t count,
                  const WDU_EVENT_TABLE &events);

    void Start() override;
    void AwaitFirstNews() override;
    void Stop() override;
    uint32_t Run(const void *device, const Transfer &transfer) override;
    uint32_t ResetPipe(const void *device, uint32_t pipe) override;
    uint32_t ResetDevice(const void *device, uint32_t options) override;

private:
    using Lock = News::Lock;
    using TimePoint = scanner::Clock::TimePoint;

    News::Look LookForNews(Lock &lock);
    void TellDetached(Lock &lock);
    void TellAttached(Lock &lock);
    Status Check(const void *device) const;
    Status WaitFor(Lock &lock, TimePoint moment, const void *device);
    std::optional<uint32_t> Prevented(Lock &lock, const void *device, const VS_Fault &fault,
                                      TimePoint deadline);
    uint32_t Send(Lock &lock, const void *device, const Transfer &transfer, TimePoint deadline);
    uint32_t Receive(Lock &lock, const void *device, const Transfer &transfer, TimePoint deadline);
    uint32_t Fetch(Lock &lock, const void *device, const Transfer &transfer, TimePoint deadline);

    scanner::Scanner &scanner_;
    News news_;
    bool matches_ = false;
    WDU_ALTERNATE_SETTING setting_{};
    WDU_INTERFACE interface_{};
    WDU_DEVICE info_{};

    // Under the scanner's mutex from here on.
    uint32_t told_ = 0;            // connection that the host knows of, 0: none
    bool accepted_ = false;        // and wants
    const void *handle_ = nullptr; // its handle
    unsigned lastCommand_ = 0;     // code of the last command sent: the one that a reply belongs to
};

} // namespace wdapi
