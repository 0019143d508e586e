// Several IFDs read as if walked one after another, in linear time. IFD0 may point at the EXIF IFD
// many times, and at IFDs that overlap: an IFD that starts 12k bytes after another one's start
// holds the same entries from there on. Walking each in turn would cost the product of the pointer
// count and the IFD size. Since a reader keeps, per field, the entry met last (LatestEntries), all
// that matters of an entry is the last walk that meets it: the sweep below visits every distinct
// entry once, with that walk, and the reader's choices come out as if every walk had been made.
//
// The IFDs are sorted by the 12-byte grid their entries lie on, then by where they start; a sweep
// along each grid keeps the IFDs covering the current entry in a max-heap by walk order, so its top
// is the last walk to meet the entry. Cost: one visit per distinct entry plus O(n log n) for the
// IFDs; no memory beyond the caller's arrays.
#pragma once

#include <algorithm>
#include <cstdint>

#include "exif/ifd_walk.h"

namespace kovra::exif {

struct IfdRun {
    uint64_t first_entry;  // offset of entry 0
    uint32_t count;        // entries, at least 1
    uint32_t walk;         // place in walking order: later walks win
    uint64_t grid() const { return first_entry % kEntryBytes; }
    uint64_t end() const { return first_entry + static_cast<uint64_t>(kEntryBytes) * count; }
};

// Calls visit(entry_offset, walk) once for each distinct entry of `runs`, with the largest `walk`
// among the runs that hold it. Reorders `runs`; `heap` has room for `n` indexes.
template <class Visit>
void visit_latest_entries(IfdRun *runs, uint32_t n, uint32_t *heap, Visit &&visit) {
    if (n == 1) {  // the usual case, one EXIF IFD: its entries in order
        for (uint64_t at = runs[0].first_entry; at < runs[0].end(); at += kEntryBytes) visit(at, runs[0].walk);
        return;
    }
    std::sort(runs, runs + n, [](const IfdRun &a, const IfdRun &b) {
        return a.grid() != b.grid() ? a.grid() < b.grid() : a.first_entry < b.first_entry;
    });
    const auto earlier_walk = [runs](uint32_t a, uint32_t b) { return runs[a].walk < runs[b].walk; };
    uint32_t next = 0;
    while (next < n) {
        const uint64_t grid = runs[next].grid();
        const auto starts_by = [&](uint64_t at) {
            return next < n && runs[next].grid() == grid && runs[next].first_entry <= at;
        };
        uint32_t held = 0;
        uint64_t at = runs[next].first_entry;
        for (;;) {
            for (; starts_by(at); ++next) {
                heap[held++] = next;
                std::push_heap(heap, heap + held, earlier_walk);
            }
            while (held > 0 && runs[heap[0]].end() <= at) {
                std::pop_heap(heap, heap + held, earlier_walk);
                --held;
            }
            if (held > 0) {
                visit(at, runs[heap[0]].walk);
                at += kEntryBytes;
            } else if (next < n && runs[next].grid() == grid) {
                at = runs[next].first_entry;
            } else {
                break;
            }
        }
    }
}

}  // namespace kovra::exif
