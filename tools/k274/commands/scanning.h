// Scanning as scan and resend do it: follow the card, then write the files of its scan.
#pragma once

#include <string>

#include "tools/k274/base/options.h"
#include "tools/k274/files/package.h"
#include "tools/k274/scan/following.h"
#include "tools/k274/scan/log_excerpt.h"
#include "tools/k274/scan/processing.h"

namespace CLI {
class App;
}

namespace host {

struct ScanOptions {
    std::string out = "scan";
    int count = 0; // 0: one, or as many as there are cards
    std::string mode = "full";
    bool noBarcodes = false;
    int decodeMode = 0;
    bool report = false;
    bool resend = false; // fetch the lines once more, and write only what comes of that
    Processing processing;

    bool Full() const { return mode == "full"; }
};

/// The options that scan and resend share.
void AddScanOptions(CLI::App &command, ScanOptions &scan);

class Scanning {
public:
    Scanning(const Options &options, const ScanOptions &scan, Output &output);
    void Run();

private:
    ScanRecord Resend(Session &session, int number);
    void Save(Session &session, ScanRecord &record, int number);
    bool SaveTiff(Session &session, FileSet &files) const;
    nlohmann::ordered_json Describe(const ScanRecord &record, int number) const;

    Options options_; // with the log's folder decided
    const ScanOptions &scan_;
    Output &output_;
    CardFeeder feeder_;
    bool virtual_;
    int count_;
    Follower follower_;
    LogExcerpt log_;
};

} // namespace host
