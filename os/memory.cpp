// Memory services. Every allocation in the library funnels through KOVRADALT_OsMalloc and
// KOVRADALT_OsRealloc, which is also where tests inject allocation failures.

#include <cstdlib>
#include <cstring>

#include "kovra_os.h"
#include "os/alloc_failure.h"

namespace kovra::os {
namespace {
// Number of allocations still allowed to succeed; negative means no failure is armed.
long g_allocations_before_failure = -1;

bool next_allocation_fails() {
    if (g_allocations_before_failure < 0) return false;
    if (g_allocations_before_failure == 0) return true;
    --g_allocations_before_failure;
    return false;
}
}  // namespace

void fail_allocations_after(long successes) { g_allocations_before_failure = successes; }
void stop_failing_allocations() { g_allocations_before_failure = -1; }
}  // namespace kovra::os

extern "C" {

KOVRA_API int32_t gTestCount = 0;
KOVRA_API int32_t total_mem_size = 0;

KOVRA_API void *KOVRADALT_OsMalloc(uint32_t size) {
    if (kovra::os::next_allocation_fails()) return nullptr;
    return std::malloc(size);
}

KOVRA_API void *KOVRADALT_OsRealloc(void *pointer, uint32_t size) {
    if (kovra::os::next_allocation_fails()) return nullptr;
    return std::realloc(pointer, size);
}

KOVRA_API void KOVRADALT_OsFree(void *pointer) { std::free(pointer); }

KOVRA_API void *KOVRADALT_OsMemset(void *destination, int32_t value, uint32_t count) {
    return std::memset(destination, value & 0xFF, count);
}

KOVRA_API void *KOVRADALT_OsMemcpy(void *destination, const void *source, uint32_t count) {
    return std::memmove(destination, source, count);
}

}  // extern "C"
