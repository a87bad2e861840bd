#include "image/kernel/memory.h"

#include <cstring>

namespace sv {

namespace {

template <typename T>
T Read(std::span<const T> array, size_t index) {
  return index < array.size() ? array[index] : T(0);
}

template <typename T>
bool Write(std::span<T> array, size_t index, T value) {
  if (index >= array.size()) return false;
  array[index] = value;
  return true;
}

void StoreWord(uint8_t* p, uint16_t value) {
  p[0] = uint8_t(value & 0xFF);
  p[1] = uint8_t(value >> 8);
}

}  // namespace

uint8_t SV_Peek(const void* address, size_t offset) {
  return address ? static_cast<const uint8_t*>(address)[offset] : 0;
}

void SV_Poke(void* address, size_t offset, uint8_t value) {
  if (address) static_cast<uint8_t*>(address)[offset] = value;
}

void SV_poke_short(void* address, size_t offset, uint16_t value) {
  if (address) StoreWord(static_cast<uint8_t*>(address) + offset, value);
}

uint8_t SV_Peek(ConstSamples8 memory, size_t offset) { return Read(memory, offset); }

bool SV_Poke(Samples8 memory, size_t offset, uint8_t value) {
  return Write(memory, offset, value);
}

bool SV_poke_short(Samples8 memory, size_t offset, uint16_t value) {
  // Both bytes must lie inside; written as one or not at all.
  if (offset >= memory.size() || memory.size() - offset < 2) return false;
  StoreWord(memory.data() + offset, value);
  return true;
}

long SV_byte_of(const uint8_t* array, size_t index) { return array ? array[index] : 0; }
long SV_byte_of(ConstSamples8 array, size_t index) { return Read(array, index); }

long SV_short_of(const uint16_t* array, size_t index) { return array ? array[index] : 0; }
long SV_short_of(ConstSamples16 array, size_t index) { return Read(array, index); }

long SV_short_of(ConstSamples16 image, FrameSize size, long x, long y) {
  if (!Holds(image, size) || x < 0 || y < 0 || x >= size.width || y >= size.height) return 0;
  return image[size_t(y) * size_t(size.width) + size_t(x)];
}

int32_t SV_long_of(const int32_t* array, size_t index) { return array ? array[index] : 0; }
int32_t SV_long_of(std::span<const int32_t> array, size_t index) { return Read(array, index); }

float SV_float_of(const float* array, size_t index) { return array ? array[index] : 0.0f; }
float SV_float_of(std::span<const float> array, size_t index) { return Read(array, index); }

float SV_float(const void* address, size_t offset) {
  float v = 0.0f;
  if (address) std::memcpy(&v, static_cast<const uint8_t*>(address) + offset, sizeof v);
  return v;
}

float SV_float(ConstSamples8 memory, size_t offset) {
  if (offset >= memory.size() || memory.size() - offset < sizeof(float)) return 0.0f;
  return SV_float(memory.data(), offset);
}

void SV_set_byte(uint8_t* array, size_t index, uint8_t value) {
  if (array) array[index] = value;
}
bool SV_set_byte(Samples8 array, size_t index, uint8_t value) {
  return Write(array, index, value);
}

void SV_set_short(uint16_t* array, size_t index, uint16_t value) {
  if (array) array[index] = value;
}
bool SV_set_short(Samples16 array, size_t index, uint16_t value) {
  return Write(array, index, value);
}

void SV_set_long(int32_t* array, size_t index, int32_t value) {
  if (array) array[index] = value;
}
bool SV_set_long(std::span<int32_t> array, size_t index, int32_t value) {
  return Write(array, index, value);
}

}  // namespace sv
