// A buffer that lives on the stack up to N elements: argument vectors for
// vectorcall are built on every call and must not reach the allocator.
#pragma once

#include <cstddef>
#include <memory>

namespace tess {

template <typename T, std::size_t N>
class SmallVector {
public:
    explicit SmallVector(std::size_t size) : size_(size)
    {
        if (size > N) {
            heap_ = std::make_unique<T[]>(size);
            data_ = heap_.get();
        }
    }
    SmallVector(const SmallVector&) = delete;
    SmallVector& operator=(const SmallVector&) = delete;

    T* data() noexcept { return data_; }
    std::size_t size() const noexcept { return size_; }
    T& operator[](std::size_t index) noexcept { return data_[index]; }
    const T& operator[](std::size_t index) const noexcept { return data_[index]; }

private:
    T inline_[N];  // filled by the owner; spared the zeroing on every call
    std::unique_ptr<T[]> heap_;
    T* data_ = inline_;
    std::size_t size_;
};

}  // namespace tess
