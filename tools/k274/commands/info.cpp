// k274 info: versions, serial numbers and link.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/facts/records.h"
#include "tools/k274/scan/session.h"
#include "tools/k274/scan/virtual_device.h"

namespace host {

namespace {

using nlohmann::ordered_json;

void Info(const Options &options, Output &output) {
    Session session(options, output);
    session.WaitOnline(Deadline(ScannerTimeout(options)));
    const K274_Version version = ReadVersions(session);
    const bool online = K274_UsbIsOnline() != 0;

    ordered_json object = {{"event", "info"}, {"host", K274_HOST_VERSION}, {"device", DeviceName()}};
    object["online"] = online;
    object["versions"] = VersionJson(version);
    output.Object(object);

    const std::string second = SecondSerial(version);
    output.Note("device            " + DeviceName() + (online ? ", online" : ", offline"));
    output.Note("serial number     " + std::to_string(version.serialNumber));
    output.Note("second serial     " + (second == "0" ? "none" : second));
    output.Note("firmware          " + Dotted(version.firmware, 3));
    output.Note("FPGA              " + Dotted(version.fpga, 2));
    output.Note("hardware          " + std::to_string(version.hardware));
    output.Note("library           " + Dotted(version.library, 3));
    output.Note("barcode library   " + Dotted(version.barcodeLibrary, 2));
    output.Note("host              " K274_HOST_VERSION);
}

} // namespace

void AddInfo(CLI::App &app, const Options &options, Command &chosen) {
    app.add_subcommand("info", "show versions, serial numbers and the link")->callback([&options, &chosen] {
        chosen = [&options](Output &output) { Info(options, output); };
    });
}

} // namespace host
