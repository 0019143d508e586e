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

// Index of the row for `tag` in `rules`, else -1. Readers that look an entry's tag up before
// decoding the rest pass over the entries no row wants at the cost of one 16-bit read.
template <uint32_t kRows>
int tag_row(const TagRule (&rules)[kRows], uint32_t tag) {
    for (uint32_t row = 0; row < kRows; ++row) {
        if (rules[row].tag == tag) return static_cast<int>(row);
    }
    return -1;
}

// True when the field has the type and count its rule requires.
inline bool meets_rule(const TagRule &rule, const DALTJ_ExifField &field) {
    const bool type_ok = rule.type == kShortOrLong ? is_short_or_long(field) : field.type == rule.type;
    return type_ok && (rule.count == kAnyCount || field.count == rule.count);
}

// Index of the entry's row in `rules` when the entry has that row's type and count, else -1.
template <uint32_t kRows>
int rule_row(const TagRule (&rules)[kRows], const DALTJ_ExifField &field) {
    const int row = tag_row(rules, field.tag);
    return row >= 0 && meets_rule(rules[row], field) ? row : -1;
}

// The last entry offered for each row. Reading order is (walk, entry offset): entries of a later
// walk come after those of an earlier one, and within a walk an entry further on comes later.
template <uint32_t kRows>
class LatestEntries {
public:
    void offer(int row, const DALTJ_ExifField &entry, uint32_t walk, uint64_t at) {
        if (row < 0) return;
        Kept &kept = kept_[row];
        if (kept.met && (kept.walk > walk || (kept.walk == walk && kept.at > at))) return;
        kept = Kept{true, walk, at, entry};
    }

    // Calls store(entry) for each row that met an entry, in row order; false as soon as one store
    // fails (memory ran out), leaving the rows after it unstored.
    template <class Store>
    bool store_each(Store &&store) const {
        for (const Kept &kept : kept_) {
            if (kept.met && !store(kept.entry)) return false;
        }
        return true;
    }

private:
    struct Kept {
        bool met;
        uint32_t walk;
        uint64_t at;
        DALTJ_ExifField entry;
    };
    Kept kept_[kRows] = {};
};

}  // namespace kovra::exif
