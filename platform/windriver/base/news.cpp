// The driver's thread, and the host's callbacks.
#include "platform/windriver/base/news.h"

namespace wdapi {

void News::Start(std::function<Look(Lock &)> look) {
    thread_ = std::thread([this, kept = std::move(look)] { Run(kept); });
}

void News::AwaitFirst(std::chrono::milliseconds patience) {
    Lock lock(mutex_);
    changed_.wait_for(lock, patience, [this] { return firstTold_ || closing_; });
}

void News::Close() {
    closing_ = true;
    changed_.notify_all();
}

void News::Join() {
    if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach(); // a host that closes from within a callback: the thread ends after that
    else
        thread_.join();
}

void News::Run(const std::function<Look(Lock &)> &look) {
    Lock lock(mutex_);
    while (!closing_) {
        const Look found = look(lock);
        if (found.told)
            continue;
        if (found.caughtUp && !firstTold_) {
            firstTold_ = true;
            changed_.notify_all();
        }
        if (found.until == TimePoint::max())
            changed_.wait(lock);
        else
            changed_.wait_until(lock, found.until);
    }
}

bool News::TellAttached(Lock &lock, void *device, WDU_DEVICE *info) const {
    if (host_.pfDeviceAttach == nullptr)
        return true;
    lock.unlock();
    const bool accepted = host_.pfDeviceAttach(device, info, host_.pUserData) != 0;
    lock.lock();
    return accepted;
}

void News::TellDetached(Lock &lock, void *device) const {
    if (host_.pfDeviceDetach == nullptr)
        return;
    lock.unlock();
    host_.pfDeviceDetach(device, host_.pUserData);
    lock.lock();
}

} // namespace wdapi
