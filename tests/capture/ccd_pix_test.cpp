// Response blocks in, gains out: the values of single responses, the ends that are held, unsound replies
// (responses.txt).
#include "src/capture/ccd_pix.h"

#include "tests/capture/drawings.h"
#include "wire/bytes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

namespace k274 {
namespace {

// Up to where the gains of one half are those of its ends, and which response these come from.
std::string Held(const float *gains, int first, int last, double exponent) {
    const auto response = [&](int at) { return std::lround(224 / std::pow(gains[at], 1 / exponent)); };
    int begin = first, end = last;
    while (begin < last && gains[begin + 1] == gains[first])
        begin++;
    while (end > first && gains[end - 1] == gains[last])
        end--;
    return Words(begin, response(first), end, response(last));
}

TEST(CcdPixTest, RepliesAndGains) {
    std::vector<uint8_t> reply(kCcdReplyBytes);
    uint8_t *responses = reply.data() + wire::kResponsesAt;
    const auto owned = std::make_unique<CcdPix>();
    CcdPix &ccd = *owned;
    PlayDrawings("capture/responses.txt",
                 {{"reply", GreyView{responses, kResponseTables, kSensorRows}},
                  {"seen", GreyView{ccd.resp[0], kResponseTables, kSensorRows}}},
                 {{"Rising",
                   [&](auto &) {
                       for (int i = 0; i < kResponseBytes; i++)
                           responses[i] = static_cast<uint8_t>(100 + i % kSensorRows % 120);
                       return "";
                   }},
                  {"Accept",
                   [&](auto &words) {
                       uint32_t length = 0, excess = 0;
                       words >> std::setbase(0) >> length >> excess;
                       wire::Store32(reply.data(), length);
                       wire::Store32(reply.data() + 4,
                                     std::accumulate(responses, responses + kResponseBytes, excess));
                       const CcdReply result = ccd.Accept(reply.data());
                       return Words(static_cast<int>(result), ccd.valid.load());
                   }},
                  {"Gains",
                   [&](auto &words) {
                       size_t at = 0;
                       words >> at;
                       return Words(ccd.fixRgb[at], ccd.fixIr[at], ccd.fixUv[at]);
                   }},
                  {"Held",
                   [&](auto &words) {
                       const float *gains[] = {ccd.gainB, ccd.gainR, ccd.gainIr};
                       size_t light = 0;
                       words >> light;
                       return Held(gains[light], 0, 1349, 0.97) + ' ' + Held(gains[light], 1350, 2699, 0.97);
                   }},
                  {"UvHeld", [&](auto &) {
                       return Words(ccd.edge) + ", " + Held(ccd.gainUv, 0, 674, 0.95) + ' ' +
                              Held(ccd.gainUv, 675, 1349, 0.95);
                   }}});
}

} // namespace
} // namespace k274
