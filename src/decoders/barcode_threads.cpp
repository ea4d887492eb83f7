// The decoders of a scan: the first one on the contrast-stretched red image, watched for 200 ms; the second
// on the plain red image; the third, when these found nothing, on the infrared image once it has come.
#include "src/decoders/barcode_threads.h"

#include "platform/os/os.h"
#include "src/analysis/jitter.h"
#include "src/carddata/barcode_images.h"
#include "src/common/text.h"
#include "src/decoders/barcode.h"
#include "src/decoders/jitter_step.h"
#include "src/log/log.h"
#include "src/state/flags.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/notify.h"

#include <cstring>

namespace k274 {

namespace {

constexpr uint32_t kWatchdogMs = 200;
constexpr int kInfraredSteps = 100; // of 10 ms
constexpr int kDarkBack = 25;       // dark samples of the white test from which on a back is dark
constexpr int32_t kRareMode = 9;    // from here on dark backs are not decoded at all

constexpr char kModeCard[] = "Decode Mode"; // and two characters, then the digit
constexpr int16_t kModeCardLength = 14;

// Two texts that patterns on known cards are mistaken for.
struct Misread {
    int16_t length;
    int32_t orientation;
    size_t at; // counted from 0
    char text[7];
};
constexpr Misread kLongMisread = {325, 3, 119, "NORVA,"}; // five letters and a comma of that card's print
constexpr Misread kShortMisread = {207, 3, 39, "FOCUS\n"};

bool IsMisread(const BarcodeRecord &read, const Misread &misread) {
    return read.pdfLength == misread.length && read.orientation == misread.orientation &&
           std::memcmp(read.pdfText + misread.at, misread.text, sizeof misread.text - 1) == 0;
}

void Start(void (*body)(void *), BarcodeTicket ticket) {
    os::StartThread(body, reinterpret_cast<void *>(static_cast<uintptr_t>(ticket)));
}

BarcodeTicket TicketOf(void *argument) {
    return static_cast<BarcodeTicket>(reinterpret_cast<uintptr_t>(argument));
}

// Does something to the shared state while the ticket holds; false when it does not any more.
template <typename Action>
bool WhileCurrent(BarcodeTicket ticket, Action action) {
    std::lock_guard guard(barcode.lock);
    if (ticket != barcode.ticket)
        return false;
    action();
    return true;
}

bool Current(BarcodeTicket ticket) {
    return WhileCurrent(ticket, [] {});
}

// Tells the host that the results are ready, unless they have become those of another scan. Under the
// callback lock, so that it cannot come after a state of the next scan.
void Announce(BarcodeTicket ticket) {
    std::lock_guard guard(callbackLock);
    if (Current(ticket))
        SetScanState(K274_STATE_BARCODE_READY);
}

void Discard(BarcodeTicket ticket, BarcodeRecord &read) {
    read.pdfLength = 0;
    WhileCurrent(ticket, [] { barcode.record.pdfLength = 0; });
}

// A read of another length than the jitter card's ends the series of its scores.
void EndSeriesOfOtherCard(BarcodeTicket ticket, const BarcodeRecord &read) {
    if (read.pdfLength != kJitterTextLength)
        WhileCurrent(ticket, ResetJitterSeries);
}

// Waits for the infrared image, for a second at most; false when the results are not wanted any more.
bool AwaitInfrared(BarcodeTicket ticket) {
    for (int step = 0; step < kInfraredSteps && state.irProgress <= 0; ++step) {
        os::SleepMs(10);
        if (!Current(ticket))
            return false;
    }
    return true;
}

void SecondDecoder(BarcodeTicket ticket) {
    BarcodeRecord read;
    if (!BcDecode(BarcodeSource::Red0, ticket, false, read))
        return;
    if (read.pdfLength > 0)
        WhileCurrent(ticket, [] { ++barcode.dec2Count; });
    EndSeriesOfOtherCard(ticket, read);
    if (IsMisread(read, kLongMisread))
        Discard(ticket, read);
    // A linear code that was read is not given up for the infrared image.
    if (read.pdfLength == 0 && read.linearLength == 0 && state.irProgress >= 0) {
        if (!AwaitInfrared(ticket) ||
            !WhileCurrent(ticket, [] { BuildIrBarcodeImage(CorrectedInfrared(), Red1()); }) ||
            !BcDecode(BarcodeSource::Infrared, ticket, false, read))
            return;
    }
    Announce(ticket);
}

bool IsModeCard(const BarcodeRecord &read) {
    return read.pdfLength == kModeCardLength &&
           std::memcmp(read.pdfText, kModeCard, sizeof kModeCard - 1) == 0;
}

void ChangeMode(BarcodeTicket ticket, int32_t mode) {
    const auto change = [&] {
        SetDecodeMode(mode);
        ResetJitterSeries();
    };
    if (!WhileCurrent(ticket, change))
        return;
    log.Post(Format("SD,      SetDecMode  %d", mode));
    Announce(ticket);
}

// Runs the second decoder, too, when the first has read nothing.
void BcThread1(void *argument) {
    const BarcodeTicket ticket = TicketOf(argument);
    const int32_t mode = barcode.decodeMode;
    BarcodeRecord read;
    if (!BcDecode(mode == 2 ? BarcodeSource::Red0 : BarcodeSource::Red1, ticket, true, read))
        return;
    if (IsModeCard(read)) {
        ChangeMode(ticket, read.pdfText[kModeCardLength - 1] - '0');
        return;
    }
    if (IsMisread(read, kLongMisread) || IsMisread(read, kShortMisread))
        Discard(ticket, read);
    if (read.pdfLength > 0) {
        WhileCurrent(ticket, [&] { ++(mode <= 1 ? barcode.dec1Count : barcode.dec2Count); });
        EndSeriesOfOtherCard(ticket, read);
        Announce(ticket);
        return;
    }
    SecondDecoder(ticket);
}

// An overdue first decoder is abandoned: its ticket is void from then on.
void BcWatchdog(void *argument) {
    os::SleepMs(kWatchdogMs);
    BarcodeTicket second = 0;
    WhileCurrent(TicketOf(argument), [&] {
        if (!barcode.firstRunning)
            return;
        ++barcode.decKCount;
        barcode.firstRunning = false;
        second = ++barcode.ticket;
    });
    if (second == 0)
        return;
    os::SleepMs(2);
    log.Post("SD,      BcdTimeout");
    SecondDecoder(second);
}

// Builds the images for a new set of decoders, which has the ticket that is returned.
BarcodeTicket PrepareDecoders(bool firstRunning) {
    std::lock_guard guard(barcode.lock);
    BuildRedImage(CorrectedColour(), Red0());
    RedContrast(contrastTable, Red0(), Red1());
    ForgetCodes(barcode.record);
    barcode.firstRunning = firstRunning;
    return ++barcode.ticket;
}

bool WhiteCardWasRead() {
    std::lock_guard guard(barcode.lock);
    return barcode.record.pdfLength == 7;
}

} // namespace

void StartBarcodeDecode() {
    if (WhiteCardWasRead()) {
        SetScanState(K274_STATE_BARCODE_READY);
        return;
    }
    if (measures.cardClass == 0) {
        log.Write(Format("white,   %05d, WC   [no BC]", state.scanCounter + 1));
        return;
    }
    const int32_t mode = barcode.decodeMode;
    const int32_t backDark = measures.whiteDark[1];
    const bool startFirst = mode <= 2 || backDark < kDarkBack;
    // Mode 3 only lets the watchdog believe in a first decoder, so that the second starts after its delay.
    const BarcodeTicket ticket = PrepareDecoders(startFirst || mode == 3);
    if (mode >= kRareMode && backDark > kDarkBack)
        return;
    if (mode != 1 && mode != 2)
        Start(BcWatchdog, ticket);
    if (startFirst)
        Start(BcThread1, ticket);
}

} // namespace k274
