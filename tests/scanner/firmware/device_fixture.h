// The device alone, with a clock that the test moves, and what a host exchanges with it.
#pragma once

#include "scanner/firmware/device.h"
#include "wire.h"

#include <gtest/gtest.h>

namespace wire {

using namespace scanner;

inline Clock::TimePoint fakeNow{};
inline Clock::TimePoint FakeNow() { return fakeNow; }
inline void Wait(double seconds) {
    fakeNow += std::chrono::duration_cast<Clock::TimePoint::duration>(std::chrono::duration<double>(seconds));
}

/// A pass as hosts fetch it.
struct Fetched {
    Pass pass;
    uint16_t word; // status word of its stage
    int first, last, block;
    void (*render)(const Scene &, int, uint8_t *);
    int Code() const { return static_cast<int>(pass) + 1; }
    size_t LineBytes() const { return static_cast<size_t>(Info(pass).lineBytes); }
};
inline const Fetched kPassesFetched[] = {
    {Pass::Rgb, 0x0007, 2188, 100, 12, RenderRgbLine},
    {Pass::Ir, 0x001F, 100, 2289, 11, RenderIrLine},
    {Pass::Uv, 0x005F, 1194, 0, 6, RenderUvLine},
};
inline const Fetched &kRgb = kPassesFetched[0], &kIr = kPassesFetched[1], &kUv = kPassesFetched[2];

struct Desk {
    Desk() { device.PowerOn(); }

    OutResult Send(const Fields &fields) {
        const Bytes packet = Packet(fields, ++sequence);
        return device.Out(packet.data(), packet.size());
    }
    InResult Read(Bytes *reply, size_t capacity = kMaxReplyBytes) {
        reply->assign(capacity, 0xEE);
        size_t size = 0;
        const InResult result = device.In(reply->data(), capacity, &size);
        reply->resize(size);
        return result;
    }
    /// Sends and reads, waiting for the head.
    Bytes Exchange(const Fields &fields, InResult expected = InResult::Data) {
        Bytes reply;
        EXPECT_EQ(Send(fields), OutResult::Ack);
        InResult result;
        while ((result = Read(&reply)) == InResult::Nak && device.NextMoment() > fakeNow)
            fakeNow = device.NextMoment();
        EXPECT_EQ(result, expected);
        return reply;
    }
    uint16_t Poll(uint8_t mode = 0) {
        const Bytes reply = Exchange(PollFields(mode));
        kind = reply.at(4);
        job = reply.at(17);
        return Word(reply, 6);
    }
    std::vector<std::string> Events() {
        std::vector<std::string> texts;
        for (std::string text; !(text = Text(Exchange({0x15}))).empty();)
            texts.push_back(text);
        return texts;
    }
    void PollTo(uint16_t word) {
        for (int k = 0; Poll() != word; k++, Wait(0.01))
            ASSERT_LT(k, 1000);
    }
    /// Puts a card in and polls until the word comes up. Drops the events up to there.
    void BringTo(uint16_t word, const Traits &traits = {}) {
        Poll();
        ASSERT_TRUE(device.InsertCard(PlainCard(traits)));
        PollTo(word);
        Events();
    }
    /// Asks for every twelfth block and the last one.
    void Fetch(const Fetched &f) {
        const int step = (f.last > f.first ? 12 : -12) * f.block;
        for (int first = f.first; (first - f.last) * step < 0; first += step)
            Exchange(LineFields(f.Code(), first, f.block));
        Exchange(LineFields(f.Code(), f.last, f.block));
    }
    /// What a packet holds behind its header.
    Bytes Lines(const Fetched &f, int first, int count) {
        const Bytes packet = Exchange(LineFields(f.Code(), first, count));
        EXPECT_EQ(packet.size(), static_cast<size_t>(count) * f.LineBytes());
        return Bytes(packet.begin() + 24, packet.end());
    }

    Clock clock{FakeNow};
    DeviceLog log{clock, ""};
    Device device{clock, log};
    uint32_t sequence = 0;
    int kind = 0, job = 0;
};

struct DeviceTest : testing::Test, Desk {};

} // namespace wire
