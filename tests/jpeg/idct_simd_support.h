// The inverse DCTs that have a vector version, each with its scalar core: the exported routine
// (which runs the vector version where the build has one) must write exactly what the core does.
#pragma once

#include <cstring>

#include "idct_support.h"
#include "jpeg/idct_scalar.h"

namespace kovra::test::idct {

struct VectorPair {
    const char *name;
    DALTJ_IdctFn exported;
    DALTJ_IdctFn scalar;
};

inline constexpr VectorPair kVectorPairs[] = {
    {"DoIdct", DALTJ_DoIdct, jpeg::idct_full_scalar},
    {"DoIdct8By8", DALTJ_DoIdct8By8, jpeg::idct_8by8_scalar},
    {"DoIdct_2to1", DALTJ_DoIdct_2to1, jpeg::idct_2to1_scalar},
};

// Whether both write the same samples into an 8 x 8 block (quicker than run_idct, unguarded).
inline bool agree(const VectorPair &pair, const Block &block, const Multipliers &multipliers) {
    Samples exported, scalar;
    std::memset(&exported, kUnwritten, sizeof exported);
    std::memset(&scalar, kUnwritten, sizeof scalar);
    uint8_t *exported_rows[8], *scalar_rows[8];
    for (int r = 0; r < 8; ++r) exported_rows[r] = exported[r].data(), scalar_rows[r] = scalar[r].data();
    pair.exported(idct_range_limit(), multipliers.data(), block.data(), exported_rows, 0);
    pair.scalar(idct_range_limit(), multipliers.data(), block.data(), scalar_rows, 0);
    return exported == scalar;
}

}  // namespace kovra::test::idct
