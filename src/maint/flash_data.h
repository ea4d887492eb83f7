// The scanner's data areas: factory and user record, flash blocks, white-card response. All take the device
// lock.
#pragma once

#include "wire/packet.h"

#include <cstdint>

namespace k274 {

constexpr int kFlashBlockBytes = wire::kFlashBlockBytes;
constexpr int kRecordBytes = wire::field::kRecordBytes;

/// @return false when the device lock was taken twice, 100 ms apart; what does not arrive is zero
bool ReadFlashBlock(uint8_t (&block)[kFlashBlockBytes], uint16_t number);

enum class DataRecord { Factory, User };
/// What a read of a record came to.
enum class RecordRead { Done, Failed, Busy };
/// Reads a record. A failed read leaves zeros; a taken lock is waited for, but not for the user record.
RecordRead ReadRecord(DataRecord which, uint8_t (&record)[kRecordBytes]);
/// @return whether the command was sent
bool WriteRecord(DataRecord which, const uint8_t (&record)[kRecordBytes]);

/// Stores a white-card response of kResponseBytes in the scanner. Without a scanner that counts as done.
bool SaveWcc(const uint8_t *response);

} // namespace k274
