// Random bytes for tests of parsers, the same in every run: a test names its seed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <vector>

class Dice {
public:
    using Bytes = std::vector<uint8_t>;

    explicit Dice(uint32_t seed) : engine_(seed) {}

    uint32_t word() { return uint32_t(engine_()); }
    // 0 to limit - 1; 0 for a limit of 0.
    size_t below(size_t limit) { return limit == 0 ? 0 : word() % limit; }
    bool one_in(size_t n) { return below(n) == 0; }

    Bytes bytes(size_t size) {
        Bytes made(size);
        for (uint8_t& byte : made)
            byte = uint8_t(word());
        return made;
    }
    std::string text(size_t size, const std::string& alphabet) {
        std::string made;
        for (size_t n = 0; n < size; n++)
            made += alphabet[below(alphabet.size())];
        return made;
    }

    // A frame with one to four faults: a byte, a big-endian word (often one at an edge), an end that is
    // missing or too much.
    Bytes damaged(Bytes frame) {
        for (size_t faults = 1 + below(4); faults > 0; faults--) {
            switch (below(5)) {
            case 0:
                frame.resize(below(frame.size() + 1));
                break;
            case 1: {
                const Bytes more = bytes(below(64));
                frame.insert(frame.end(), more.begin(), more.end());
                break;
            }
            case 2:
                if (!frame.empty())
                    frame[below(frame.size())] = uint8_t(word());
                break;
            default:
                put_word(frame, edge(frame.size()));
            }
        }
        return frame;
    }

private:
    uint32_t edge(size_t size) {
        const uint32_t edges[] = {
            0,          1,          uint32_t(size) - 1, uint32_t(size), uint32_t(size) + 1,
            0x7fffffff, 0x80000000, 0xffffffff,         word() & 0xff,  word()};
        return edges[below(std::size(edges))];
    }
    void put_word(Bytes& frame, uint32_t value) {
        if (frame.size() < 4)
            return;
        const size_t at = below(frame.size() / 4) * 4;
        for (size_t n = 0; n < 4; n++)
            frame[at + n] = uint8_t(value >> (24 - 8 * n));
    }

    std::mt19937 engine_;
};
