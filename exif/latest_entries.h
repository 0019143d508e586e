// How the EXIF, GPS and 0th IFD readers fill a record: each reader has a table of the tags it takes,
// with the type and count each must have, and the last entry met for each tag wins. The readers
// first only note, per table row, the entry that comes last in reading order (LatestEntries), and
// store each row's value once when every entry was seen. So a tag repeated n times costs one string
// copy, not n, and each slot of the caller's record is written at most once per read: nothing the
// record held before is freed (it belongs to the caller) and no copy made by the read is dropped.
#pragma once

#include <cstdint>

#include "exif/ifd_entry.h"
#include "kovra_exif.h"

namespace kovra::exif {

constexpr uint16_t kShortOrLong = 0;      // TagRule::type: SHORT or LONG
constexpr uint32_t kAnyCount = UINT32_MAX;  // TagRule::count: any count

struct TagRule {
    uint16_t tag;
    uint16_t type;   // a TIFF type, or kShortOrLong
    uint32_t count;  // the exact count required, or kAnyCount
};

// A rules table's rows by tag: slot tag % kModulus holds the row, for the smallest modulus under
// which the table's tags fall into distinct slots (a table that named a tag twice would have
// none, and would not compile). A look-up is a division by a constant and one compare: every
// entry of an IFD is looked up, and most are tags no row wants.
template <const auto &kRules>
struct TagSlots {
    static constexpr uint32_t kRows = sizeof kRules / sizeof kRules[0];
    static constexpr uint32_t modulus() {
        for (uint32_t m = kRows;; ++m) {
            bool distinct = true;
            for (uint32_t i = 0; i < kRows; ++i) {
                for (uint32_t j = i + 1; j < kRows; ++j) distinct = distinct && kRules[i].tag % m != kRules[j].tag % m;
            }
            if (distinct) return m;
        }
    }
    static constexpr uint32_t kModulus = modulus();
    struct Rows {
        int8_t of[kModulus];
    };
    static constexpr Rows kRowOf = [] {
        Rows rows{};
        for (int8_t &row : rows.of) row = -1;
        for (uint32_t row = 0; row < kRows; ++row) rows.of[kRules[row].tag % kModulus] = static_cast<int8_t>(row);
        return rows;
    }();
};

// Index of the row for `tag` in kRules, else -1. Readers look an entry's tag up before decoding
// the rest, so entries no row wants cost one 16-bit read.
template <const auto &kRules>
int tag_row(uint32_t tag) {
    using Slots = TagSlots<kRules>;
    const int row = Slots::kRowOf.of[tag % Slots::kModulus];
    return row >= 0 && kRules[row].tag == tag ? row : -1;
}

// True when the field has the type and count its rule requires.
inline bool meets_rule(const TagRule &rule, const DALTJ_ExifField &field) {
    const bool type_ok = rule.type == kShortOrLong ? is_short_or_long(field) : field.type == rule.type;
    return type_ok && (rule.count == kAnyCount || field.count == rule.count);
}

// Index of the entry's row in kRules when the entry has that row's type and count, else -1.
template <const auto &kRules>
int rule_row(const DALTJ_ExifField &field) {
    const int row = tag_row<kRules>(field.tag);
    return row >= 0 && meets_rule(kRules[row], field) ? row : -1;
}

// The last entry offered for each row. Reading order is (walk, entry offset): entries of a later
// walk come after those of an earlier one, and within a walk an entry further on comes later.
template <uint32_t kRows>
class LatestEntries {
public:
    void offer(int row, const DALTJ_ExifField &entry, uint32_t walk, uint64_t at) {
        if (row < 0) return;
        Kept &kept = kept_[row];
        if (met_[row] && (kept.walk > walk || (kept.walk == walk && kept.at > at))) return;
        met_[row] = true;
        kept = Kept{walk, at, entry};
    }

    // Calls store(entry) for each row that met an entry, in row order; false as soon as one store
    // fails (memory ran out), leaving the rows after it unstored.
    template <class Store>
    bool store_each(Store &&store) const {
        for (uint32_t row = 0; row < kRows; ++row) {
            if (met_[row] && !store(kept_[row].entry)) return false;
        }
        return true;
    }

private:
    struct Kept {
        uint32_t walk;
        uint64_t at;
        DALTJ_ExifField entry;
    };
    // Only the flags start cleared: a row's entry is written before its flag is set, and read
    // only after.
    bool met_[kRows] = {};
    Kept kept_[kRows];
};

}  // namespace kovra::exif
