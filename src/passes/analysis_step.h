// The steps of a scan that run the image processor on what the passes brought. Monitor thread.
#pragma once

namespace k274 {

/// After the infrared pass: counts the dust beside the card and notes it for the scan header and in the ends
/// of the raw response's rows.
void CheckDust();

/// After the ultraviolet pass: its responses, then the analysis of the whole scan.
void AnalyseUltraviolet();

/// Levels, quality and, for a white card, the FT profile of the images as they are.
void AnalyseScan();

} // namespace k274
