#include "src/state/barcode_state.h"

#include <cstring>

namespace k274 {

namespace {

void ForgetPdfCode(BarcodeRecord &record) {
    record.pdfCode = record.pdfInfo = 0;
    record.rows = record.columns = record.correctionLevel = record.moduleWidth = record.attempt = 0;
}

// Under the lock.
void Abandon() {
    ++barcode.ticket;
    barcode.firstRunning = false;
}

} // namespace

BarcodeTicket DrawBarcodeTicket() {
    std::lock_guard guard(barcode.lock);
    Abandon();
    return barcode.ticket;
}

void ClearBarcode() {
    std::lock_guard guard(barcode.lock);
    Abandon();
    BarcodeRecord &record = barcode.record;
    record.linearLength = 0;
    std::memset(record.linearText, 0, sizeof record.linearText);
    record.pdfLength = 0;
    std::memset(record.pdfText, 0, sizeof record.pdfText);
}

void ClearBarcodeForHost() {
    ClearBarcode();
    std::lock_guard guard(barcode.lock);
    barcode.record.linearCode = 0;
    barcode.record.orientation = 0;
    ForgetPdfCode(barcode.record);
}

void ForgetPdf() {
    std::lock_guard guard(barcode.lock);
    barcode.record.pdfLength = 0;
}

void ForgetCodes(BarcodeRecord &record) {
    record.linearLength = 0;
    record.linearCode = record.linearInfo = 0;
    record.pdfLength = 0;
    ForgetPdfCode(record);
}

} // namespace k274
