// A list of trivially copyable elements: a few held inline, then a KOVRADALT_OsRealloc'd array
// that doubles when full. Every operation that may allocate says so by returning false when memory
// ran out (the list is then unchanged).
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kovra_os.h"

namespace kovra::exif {

template <class T, uint32_t kInline>
class GrowingArray {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    GrowingArray() = default;
    GrowingArray(const GrowingArray &) = delete;
    GrowingArray &operator=(const GrowingArray &) = delete;
    ~GrowingArray() { KOVRADALT_OsFree(heap_); }

    bool push(const T &element) {
        if (size_ == capacity_ && !reserve(static_cast<uint64_t>(capacity_) * 2)) return false;
        data()[size_++] = element;
        return true;
    }
    // Room for `count` elements in all (their values are unspecified until written).
    bool resize(uint32_t count) {
        if (count > capacity_ && !reserve(count)) return false;
        size_ = count;
        return true;
    }
    void pop() { --size_; }
    bool empty() const { return size_ == 0; }
    uint32_t size() const { return size_; }
    T *data() { return heap_ != nullptr ? heap_ : inline_; }
    T &back() { return data()[size_ - 1]; }

private:
    bool reserve(uint64_t capacity) {
        const uint64_t bytes = capacity * sizeof(T);
        if (bytes > UINT32_MAX) return false;
        auto *bigger = static_cast<T *>(KOVRADALT_OsRealloc(heap_, static_cast<uint32_t>(bytes)));
        if (bigger == nullptr) return false;
        if (heap_ == nullptr) std::memcpy(static_cast<void *>(bigger), inline_, sizeof(T) * size_);
        heap_ = bigger;
        capacity_ = static_cast<uint32_t>(capacity);
        return true;
    }

    T inline_[kInline];
    T *heap_ = nullptr;
    uint32_t size_ = 0;
    uint32_t capacity_ = kInline;
};

}  // namespace kovra::exif
