// From the captured lines of a still image to its record, step by step.
#pragma once

#include "include/k274.h"
#include "src/common/geometry.h"
#include "src/common/view.h"
#include "src/state/maint_record.h"

#include <cstdint>

namespace k274 {

// ---- Image and profiles

/// Takes the dark level off the lines of segment C and those behind it, and raises their green.
void SubtractDark(ColourView captured);
/// Cuts the image out of the captured lines, turns red-green-blue into blue-green-red, moves the back's half
/// into place and fills the mean lines.
void ArrangeStill(ConstColourView captured, ColourView image);
void BuildStillProfiles(ConstColourView image, StillProfiles &profiles);

// ---- Measures. They read at fixed places and fit any image.

/// Peaks, floors, means and defects.
void MeasureLevels(const StillProfiles &profiles, StillRecord &record);
void MeasureSteps(ConstColourView image, StillRecord &record);
void FindTargetEdges(ConstColourView image, StillRecord &record);
void MeasureNoise(ConstColourView image, StillRecord &record);

// These look at the levels, too.
void CountDark(ConstColourView image, StillRecord &record);
void BalanceColours(const StillProfiles &profiles, StillRecord &record);
void MeasureRanges(StillRecord &record);

// ---- Scores

/// 100 for a penalty of 0 or less, down to 0.
int32_t StillScore(int32_t penalty);
/// Scores and verdict of a record that is complete otherwise.
void ScoreStill(const StillProfiles &profiles, StillRecord &record);

} // namespace k274
