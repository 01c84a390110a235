// Reads a fuzzer input front to back as bytes, words and floats; past its end everything reads 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ezossl_fuzz {

class FuzzInput {
  public:
    FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool Empty() const { return used_ >= size_; }

    uint8_t Byte() { return Empty() ? 0 : data_[used_++]; }

    uint32_t Word() {
        uint32_t word = 0;
        for (int i = 0; i < 4; ++i) word |= static_cast<uint32_t>(Byte()) << (8 * i);
        return word;
    }

    float RawFloat() {
        const uint32_t bits = Word();
        float value;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }

    // One entry of a table, chosen by the next byte.
    template <typename T, size_t N>
    const T& Pick(const T (&table)[N]) {
        return table[Byte() % N];
    }

  private:
    const uint8_t* data_;
    size_t size_;
    size_t used_ = 0;
};

}  // namespace ezossl_fuzz
