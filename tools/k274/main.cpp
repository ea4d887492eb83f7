// k274, the command-line host of the scanner.
#include <cstdio>
#include <exception>

#include "tools/k274/base/errors.h"
#include "tools/k274/host.h"

int main(int argc, char **argv) {
    try {
        return host::Run({argv + 1, argv + argc}, stdout, stderr);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "k274: unexpected failure: %s\n", error.what());
        return static_cast<int>(host::Exit::kInternal);
    }
}
