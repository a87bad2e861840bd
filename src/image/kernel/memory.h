// Raw memory and element access: one byte, word, long or float read or
// written through an address or a buffer. The span forms check the index and
// answer 0 (or false) outside the buffer; the address forms trust the caller
// and only refuse a null address.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "image/kernel/kernel_types.h"

namespace sv {

// One byte at `address` + `offset`.
uint8_t SV_Peek(const void* address, size_t offset = 0);
void SV_Poke(void* address, size_t offset, uint8_t value);
// A little-endian word at any byte offset (no alignment needed).
void SV_poke_short(void* address, size_t offset, uint16_t value);

uint8_t SV_Peek(ConstSamples8 memory, size_t offset);
bool SV_Poke(Samples8 memory, size_t offset, uint8_t value);
bool SV_poke_short(Samples8 memory, size_t offset, uint16_t value);

// Element `index` of an array of bytes, words, longs or floats.
long SV_byte_of(const uint8_t* array, size_t index);
long SV_byte_of(ConstSamples8 array, size_t index);
// The unsigned sample as an integer: 0 to 65535.
long SV_short_of(const uint16_t* array, size_t index);
long SV_short_of(ConstSamples16 array, size_t index);
// The sample at (x, y) of a frame; 0 outside it.
long SV_short_of(ConstSamples16 image, FrameSize size, long x, long y);
int32_t SV_long_of(const int32_t* array, size_t index);
int32_t SV_long_of(std::span<const int32_t> array, size_t index);
float SV_float_of(const float* array, size_t index);
float SV_float_of(std::span<const float> array, size_t index);
// A float stored at any byte offset of a byte buffer (no alignment needed).
float SV_float(const void* address, size_t offset = 0);
float SV_float(ConstSamples8 memory, size_t offset);

void SV_set_byte(uint8_t* array, size_t index, uint8_t value);
bool SV_set_byte(Samples8 array, size_t index, uint8_t value);
void SV_set_short(uint16_t* array, size_t index, uint16_t value);
bool SV_set_short(Samples16 array, size_t index, uint16_t value);
void SV_set_long(int32_t* array, size_t index, int32_t value);
bool SV_set_long(std::span<int32_t> array, size_t index, int32_t value);

// The address of element `index`; null outside the array.
template <typename T>
T* SV_pointer_of(std::span<T> array, size_t index) {
  return index < array.size() ? array.data() + index : nullptr;
}
template <typename T>
T* SV_pointer_of(T* array, size_t index) {
  return array ? array + index : nullptr;
}

}  // namespace sv
