// Our own engine: interruptible, and the same on every system. Everything is integer arithmetic; it depends
// on the clock only where time runs out.
#include "platform/sd2/own/linear_codes.h"
#include "platform/sd2/own/pdf417_symbol.h"

namespace sd2 {
namespace {

bool ReadRows(const SymbolRows &rows, const Stopwatch &watch, Pdf417Read *read) {
    own::CodewordGrid grid;
    return own::SampleCodewords(rows, watch, &grid) && own::ReadSymbol(grid, rows.columns, watch, read);
}

} // namespace

const Engine kOwnEngine{"own", ReadRows, nullptr, own::ReadLines};

} // namespace sd2
