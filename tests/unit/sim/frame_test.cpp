#include "frame.h"

#include <gtest/gtest.h>

namespace {

using Result = FrameReader::Result;

TEST(EncodeFrame, HeaderIsInNetworkOrder) {
    EXPECT_EQ(encode_frame({2, 0x01020304, {0xAA, 0xBB}}),
              (std::vector<uint8_t>{1, 2, 0, 2, 1, 2, 3, 4, 0xAA, 0xBB}));
}

TEST(EncodeFrame, OverridesChangeTheHeaderOnly) {
    const FrameOverrides wrong{.version = 2, .length = 0x1001};
    EXPECT_EQ(encode_frame({2, 1, {0xAA}}, wrong),
              (std::vector<uint8_t>{2, 2, 0x10, 0x01, 0, 0, 0, 1, 0xAA}));
}

TEST(FrameReader, CutsAStreamInAnyPieces) {
    std::vector<uint8_t> stream = encode_frame({2, 7, std::vector<uint8_t>(76, 5)});
    const std::vector<uint8_t> second = encode_frame({56, 8, {}});
    stream.insert(stream.end(), second.begin(), second.end());
    for (size_t piece : {size_t{1}, size_t{7}, size_t{8}, size_t{9}, stream.size()}) {
        FrameReader reader;
        std::vector<Frame> frames;
        for (size_t at = 0; at < stream.size(); at += piece) {
            reader.feed(std::span(stream).subspan(at, std::min(piece, stream.size() - at)));
            for (Frame frame; reader.next(frame) == Result::FRAME;)
                frames.push_back(frame);
        }
        ASSERT_EQ(frames.size(), 2u) << piece;
        EXPECT_EQ(frames[0].seq, 7u);
        EXPECT_EQ(frames[0].body.size(), 76u);
        EXPECT_EQ(frames[1].type, 56);
        EXPECT_EQ(reader.pending(), 0u);
    }
}

TEST(FrameReader, TakesTheGreatestBodyAndNoGreater) {
    Frame frame;
    FrameReader good;
    good.feed(encode_frame({2, 1, std::vector<uint8_t>(UMSG_MAX_BODY)}));
    EXPECT_EQ(good.next(frame), Result::FRAME);
    EXPECT_EQ(frame.body.size(), 4096u);
    FrameReader bad;
    bad.feed(encode_frame({2, 1, {}}, {.version = {}, .length = 4097}));
    EXPECT_EQ(bad.next(frame), Result::TOO_LONG);
    EXPECT_EQ(bad.length(), 4097);
}

TEST(FrameReader, RefusesAnotherVersion) {
    Frame frame;
    FrameReader reader;
    reader.feed(encode_frame({2, 1, {}}, {.version = 2, .length = {}}));
    EXPECT_EQ(reader.next(frame), Result::BAD_VERSION);
    EXPECT_EQ(reader.version(), 2);
}

TEST(FrameReader, WaitsForTheRest) {
    Frame frame;
    FrameReader reader;
    const auto bytes = encode_frame({2, 1, {1, 2, 3}});
    reader.feed(std::span(bytes).first(10));
    EXPECT_EQ(reader.next(frame), Result::NEED_MORE);
    EXPECT_EQ(reader.pending(), 10u);
}

} // namespace
