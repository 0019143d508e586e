// The LZW decoder against a plain model of the decoding rules, on random code streams that mix
// table entries, codes equal to the next free code, codes beyond the table and clear codes: the
// rows delivered, where decoding stops and its result must match exactly.
//
// The model keeps the prefix, suffix and length tables and walks every string byte by byte; the
// decoder under test takes its faster paths wherever the stream allows, so a difference shows up
// here. An end code writes the partial row with whatever the line buffer holds past the last
// string: the bytes of earlier rows, which the model keeps exactly.

#include <gtest/gtest.h>

#include <random>

#include "support/gif_builder.h"
#include "gif_decode.h"

namespace kovra::test {
namespace {

class ModelDecoder {
public:
    ModelDecoder(int min_code_size, int frame_width, int frame_height, int screen_width)
        : min_(min_code_size), fw_(frame_width), fh_(frame_height), limit_(screen_width + 4096),
          line_(static_cast<size_t>(limit_) + 1, 0), prefix_(4096, 0), suffix_(4096, 0), length_(4096, 0) {
        clear_ = 1u << min_;
        for (uint32_t code = 0; code <= clear_ + 1; ++code) {
            suffix_[code] = static_cast<uint8_t>(code);
            length_[code] = 1;
        }
        width_ = min_ + 1;
    }

    int width() const { return width_; }
    uint32_t next_free() const { return next_free_; }
    uint32_t clear() const { return clear_; }
    bool done() const { return done_; }
    int result() const { return result_; }
    const std::vector<Bytes> &rows() const { return rows_; }

    void feed(uint32_t code) {
        if (done_) return;
        if (phase_ != kNormal) {
            if (code == clear_) return;
            if (code == clear_ + 1) return finish(1);
            if (phase_ == kFirst) pos_ = 0;
            line_[static_cast<size_t>(pos_++)] = static_cast<uint8_t>(code);
            prev_ = code;
            first_ = static_cast<uint8_t>(code);
            if (phase_ == kFirst) {
                next_free_ = clear_ + 2;
                if (fh_ < 1) return finish(1);
            }
            phase_ = kNormal;
            return flush();
        }
        if (code == clear_ + 1) {
            rows_.emplace_back(line_.begin(), line_.begin() + fw_);
            return finish(1);
        }
        if (code == clear_) {
            width_ = min_ + 1;
            next_free_ = clear_ + 2;
            phase_ = kAfterClear;
            return;
        }
        if (code >= next_free_) {
            const uint32_t base = prev_ < next_free_ ? prev_ : 0;
            const int64_t end = pos_ + static_cast<int64_t>(length_[base]);
            if (end < 1 || end > limit_) return finish(0);
            write(base, pos_);
            line_[static_cast<size_t>(end)] = first_;
            pos_ = static_cast<int32_t>(end + 1);
        } else {
            const int64_t end = pos_ + static_cast<int64_t>(length_[code]);
            if (end < 1 || end > limit_) return finish(0);
            write(code, pos_);
            first_ = line_[static_cast<size_t>(pos_)];
            pos_ = static_cast<int32_t>(end);
        }
        if (next_free_ < 4096) {
            prefix_[next_free_] = prev_;
            suffix_[next_free_] = first_;
            length_[next_free_] = length_[prev_] + 1;
            ++next_free_;
            if (width_ < 12 && next_free_ == (1u << width_)) ++width_;
        }
        prev_ = code;
        flush();
    }

private:
    enum Phase { kFirst, kNormal, kAfterClear };

    void write(uint32_t code, int32_t at) {
        for (int64_t i = length_[code]; i > 0; --i) {
            line_[static_cast<size_t>(at + i - 1)] = suffix_[code];
            code = prefix_[code];
        }
    }
    void flush() {
        while (pos_ >= fw_) {
            rows_.emplace_back(line_.begin(), line_.begin() + fw_);
            const int32_t overflow = pos_ - fw_;
            std::copy(line_.begin() + fw_, line_.begin() + fw_ + overflow, line_.begin());
            pos_ = overflow;
            if (static_cast<int>(rows_.size()) >= fh_) return finish(1);
        }
    }
    void finish(int result) {
        done_ = true;
        result_ = result;
    }

    int min_, fw_, fh_, limit_;
    Bytes line_;
    std::vector<uint32_t> prefix_;
    Bytes suffix_;
    std::vector<uint32_t> length_;
    uint32_t clear_;
    int width_;
    uint32_t next_free_ = 0;
    uint32_t prev_ = 0;
    uint8_t first_ = 0;
    int32_t pos_ = 0;
    Phase phase_ = kFirst;
    bool done_ = false;
    int result_ = 0;
    std::vector<Bytes> rows_;
};

struct Mix {
    int beyond_percent;  // codes beyond the table
    int clear_percent;
    int kwkwk_percent;   // codes equal to the next free code
    int end_permille = 0;
    int screen_narrower_by = 0;  // a frame wider than the screen: every string is checked
};

// `table_end`, when given, receives the model's next free code at the end.
void compare_on_random_stream(uint32_t seed, int min_code_size, int width, int height, const Mix &mix,
                              uint32_t *table_end = nullptr) {
    std::mt19937 random(seed);
    const int screen_width = width - mix.screen_narrower_by;
    ModelDecoder model(min_code_size, width, height, screen_width);
    std::vector<Code> codes = {{model.clear(), min_code_size + 1}};
    int guard = 0;
    while (!model.done() && ++guard < 200000) {
        const int w = model.width();
        const uint32_t top = 1u << w;
        const uint32_t roll = random() % 100;
        uint32_t code;
        const uint32_t next_free = std::max<uint32_t>(model.next_free(), model.clear() + 2);
        if (roll < static_cast<uint32_t>(mix.clear_percent)) {
            code = model.clear();
        } else if (roll < static_cast<uint32_t>(mix.clear_percent + mix.beyond_percent)) {
            code = random() % top;
        } else if (roll < static_cast<uint32_t>(mix.clear_percent + mix.beyond_percent + mix.kwkwk_percent) &&
                   next_free < top) {
            code = next_free;
        } else {
            code = random() % std::min(next_free, top);
            if (code == model.clear() && mix.clear_percent == 0) code = 0;
        }
        if (static_cast<int>(random() % 1000) < mix.end_permille) code = model.clear() + 1;
        if (code == model.clear() + 1 && mix.end_permille == 0) continue;
        codes.push_back({code, w});
        model.feed(code);
    }
    ASSERT_TRUE(model.done());
    if (table_end != nullptr) *table_end = model.next_free();
    const Bytes gif = GifBuilder(screen_width, height, test_palette(256))
                          .image_with_data(0, 0, width, height, min_code_size, pack_codes(codes))
                          .trailer()
                          .bytes();
    const IndexImage image = decode_indexes(gif, 1, SourceKind::kMemory, 0xEE);
    ASSERT_TRUE(image.parsed);
    EXPECT_EQ(image.result, model.result());
    Bytes expected(static_cast<size_t>(screen_width) * height, 0xEE);
    for (size_t r = 0; r < model.rows().size(); ++r) {
        std::copy_n(model.rows()[r].begin(), screen_width, expected.begin() + static_cast<long>(r * screen_width));
    }
    EXPECT_EQ(image.indexes, expected);
}

TEST(GifLzwModel, WellFormedStreams) {
    for (uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        compare_on_random_stream(seed, 2 + static_cast<int>(seed % 7), 5 + static_cast<int>(seed * 7 % 90),
                                 30 + static_cast<int>(seed % 50), Mix{0, 0, 10});
    }
}

TEST(GifLzwModel, StreamsWithClearCodes) {
    for (uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        compare_on_random_stream(1000 + seed, 2 + static_cast<int>(seed % 9), 3 + static_cast<int>(seed * 13 % 60),
                                 60, Mix{0, 1, 20});
    }
}

TEST(GifLzwModel, StreamsWithCodesBeyondTheTable) {
    for (uint32_t seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        compare_on_random_stream(5000 + seed, static_cast<int>(seed % 12), 1 + static_cast<int>(seed * 11 % 40), 80,
                                 Mix{3 + static_cast<int>(seed % 5), 2, 15});
    }
}

TEST(GifLzwModel, EndCodesInMidRowKeepTheBytesOfEarlierRows) {
    for (uint32_t seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        compare_on_random_stream(7000 + seed, 2 + static_cast<int>(seed % 9), 9 + static_cast<int>(seed * 5 % 50), 40,
                                 Mix{seed % 2 == 0 ? 0 : 3, 1, 20, 3});
    }
}

TEST(GifLzwModel, TableFillsWithEveryCodeSize) {
    // No clear codes: the table fills (4096 entries) and stays full, at every minimum code size,
    // in the fast loop and, for frames wider than the screen, in the careful one. Code sizes 0
    // and 1 never reach a width-growth point, so only the full table can stop new entries.
    for (int min_code_size = 0; min_code_size < 12; ++min_code_size) {
        for (const int narrower : {0, 9}) {
            SCOPED_TRACE(testing::Message() << "code size " << min_code_size << ", screen narrower by " << narrower);
            uint32_t table_end = 0;
            compare_on_random_stream(3000 + static_cast<uint32_t>(min_code_size), min_code_size, 100, 300,
                                     Mix{0, 0, 5, 0, narrower}, &table_end);
            EXPECT_EQ(table_end, 4096u);
        }
    }
}

TEST(GifLzwModel, LongStringsRunningOutOfLineBuffer) {
    // Mostly codes equal to the next free one: strings grow until one no longer fits.
    for (uint32_t seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        compare_on_random_stream(9000 + seed, 2, 4 + static_cast<int>(seed), 5000, Mix{0, 0, 95});
    }
}

}  // namespace
}  // namespace kovra::test
