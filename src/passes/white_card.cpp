#include "src/passes/white_card.h"

#include "src/analysis/calibration.h"
#include "src/carddata/barcode_images.h"
#include "src/common/text.h"
#include "src/decoders/barcode.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/maint/flash_data.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/notify.h"
#include "src/state/records.h"
#include "src/state/white_card_record.h"

#include <cstring>

namespace k274 {

namespace {

constexpr int32_t kCountdownStart = 2; // the scan that starts it counts, too
constexpr int32_t kDustWarning = 5;

// A white card's text: C or F, the class digit, the variant, a point, three digits of the card's number.
constexpr int kTextLength = 7;
struct CardText {
    char chars[kTextLength] = {};
    bool qualifies = false;
};

CardText ReadRegion(void (*build)(ConstColourView, GreyView)) {
    const GreyView region{whiteCard.region, kWhiteCardLines, kWhiteCardPixels};
    build(RawColour(), region);
    DecodeWhiteCard(region);
    CardText text;
    std::lock_guard guard(barcode.lock);
    if (barcode.record.pdfLength != kTextLength)
        return text;
    std::memcpy(text.chars, barcode.record.pdfText, kTextLength);
    text.qualifies = (text.chars[0] == kCalibration || text.chars[0] == kFactory) && text.chars[3] == '.';
    return text;
}

// The record shows a reversed card by its own letter, too.
CardText ReadBackwards() {
    CardText text = ReadRegion(BuildBackwardRegion);
    if (!text.qualifies)
        return text;
    text.chars[0] = text.chars[0] == kCalibration ? kCalibrationReversed : kFactoryReversed;
    std::lock_guard guard(barcode.lock);
    barcode.record.pdfText[0] = static_cast<uint8_t>(text.chars[0]);
    return text;
}

int32_t Number(const char *digits) {
    int32_t number = 0;
    for (int i = 0; i < 3 && digits[i] >= '0' && digits[i] <= '9'; ++i)
        number = 10 * number + digits[i] - '0';
    return number;
}

const char *KindText() {
    switch (measures.cardCode) {
    case kFactory:
        return "Factory fwd";
    case kFactoryReversed:
        return "Factory rev";
    case kCalibration:
        return "Calibra fwd";
    case kCalibrationReversed:
        return "Calibra rev";
    default:
        return nullptr;
    }
}

// A factory card calibrates the scanner in up to three scans: the first ones write the AFE registers until
// they are right, the next one the white-card response, the last one finds nothing to do.
void HandleFactoryCard() {
    AfeRegisters current;
    {
        std::lock_guard guard(recordLock);
        current = records.afe;
    }
    FactoryCalibrate(current, CcdRawResp, measures, calibration);
    if (calibration.calFlags != 0) {
        log.Image(Format("Factory AFE update 0x%X", static_cast<unsigned>(calibration.calFlags)));
        AfeRegisters proposed = calibration.newAfe;
        AfeRegs(proposed, kWriteAfe);
        SetScanState(K274_STATE_AFE_WRITTEN);
        whiteCard.factoryCountdown = kCountdownStart;
    } else if (calibration.calCheckFlags != 0 || whiteCard.factoryCountdown > 0) {
        log.Image(Format("Factory WCC update 0x%X", static_cast<unsigned>(calibration.calCheckFlags)));
        SaveWcc(&CcdRawResp[0][0]);
        SetScanState(K274_STATE_WHITE_WRITTEN);
        whiteCard.factoryCountdown = 0;
    } else {
        const int32_t dust = measures.dustCount;
        log.Image(dust >= kDustWarning ? Format("Factory VER Dust check = %d", dust)
                                       : Format("Factory VER OK"));
        SetScanState(K274_STATE_FACTORY_DONE);
    }
}

bool JudgeFlatness() {
    const int32_t faults = FlatnessCheck(measures);
    calibration.flatOk = faults == 0 ? 1 : 0;
    log.Image(faults == 0 ? Format("Calibration OK")
                          : Format("Calibration not flat 0x%X", static_cast<unsigned>(faults)));
    return faults == 0;
}

void HandleMaintenanceCard() {
    switch (measures.cardCode) {
    case kFactory:
        HandleFactoryCard();
        break;
    case kCalibration:
        Verify(measures.cardVariant);
        SetScanState(K274_STATE_CALIBRATION_FWD);
        break;
    case kCalibrationReversed:
        SetScanState(K274_STATE_CALIBRATION_REV);
        break;
    case kFactoryReversed:
        SetScanState(K274_STATE_FACTORY_REV);
        break;
    default:
        break;
    }
}

} // namespace

bool RecogniseWhiteCard() {
    CardText text = ReadRegion(BuildForwardRegion);
    const bool forward = text.qualifies;
    if (!forward)
        text = ReadBackwards();
    if (!text.qualifies)
        return false;
    measures.forwardRead = forward ? 1 : 0;
    measures.cardCode = static_cast<uint8_t>(text.chars[0]);
    measures.cardClass = text.chars[1] - '0';
    measures.cardVariant = static_cast<uint8_t>(text.chars[2]);
    measures.cardNumber = Number(text.chars + 4);

    CmdPkt packet(command::kWhiteCardNumber, static_cast<uint8_t>(measures.cardNumber));
    transport.SendCmd(packet);
    return true;
}

void LogWhiteCard() {
    const char *kind = KindText();
    log.Image(kind ? Format("WCC %s (%d)", kind, measures.cardNumber) : Format("WCC ???"));
}

bool Verify(int32_t variant) {
    if (measures.forwardRead != 1)
        return JudgeFlatness();
    if (variant == 'S')
        ShiftForS(CcdRawResp);
    return SaveWcc(CcdRawResp[0]);
}

void FactoryVerify() {
    if (measures.cardClass == kMaintenanceClass)
        HandleMaintenanceCard();
    if (whiteCard.factoryCountdown > 0)
        --whiteCard.factoryCountdown;
}

} // namespace k274
