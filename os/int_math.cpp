// Small integer helpers exported for hosts. Arithmetic wraps as 32-bit two's complement, as the
// hosts that call these expect; the wrap is done in unsigned arithmetic to stay well defined.

#include <cstdint>

#include "kovra_os.h"

namespace {
// Signed remainder without the INT32_MIN % -1 trap (whose mathematical result is 0).
int32_t remainder_of(int32_t a, int32_t b) { return b == -1 ? 0 : a % b; }

int32_t quotient_of(int32_t a, int32_t b) {
    if (b == -1) return static_cast<int32_t>(0u - static_cast<uint32_t>(a));
    return a / b;
}
}  // namespace

extern "C" {

KOVRA_API int32_t GCD(int32_t a, int32_t b) {
    while (b != 0) {
        int32_t r = remainder_of(a, b);
        a = b;
        b = r;
    }
    return a;
}

KOVRA_API int32_t DALTJ_GetGCD(int32_t a, int32_t b) {
    int32_t g = GCD(a, b);
    return g < 0 ? static_cast<int32_t>(0u - static_cast<uint32_t>(g)) : g;
}

KOVRA_API int32_t LCM(int32_t a, int32_t b) {
    int32_t product = static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
    int32_t divisor = GCD(a, b);
    if (divisor == 0) return 0;  // both operands 0: there is nothing to divide by
    return quotient_of(product, divisor);
}

KOVRA_API uint32_t round_up_pow2(uint32_t x, uint32_t alignment) {
    return (x + alignment - 1u) & ~(alignment - 1u);
}

}  // extern "C"
