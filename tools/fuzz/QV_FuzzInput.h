// Reads a fuzz input front to back as little-endian numbers. Past its end
// every read gives zeros, so any input, however short, makes a whole case.
#pragma once

#include <cstddef>
#include <cstdint>

class QV_FuzzInput {
 public:
  QV_FuzzInput(const std::uint8_t* data, std::size_t size) : data(data), size(size) {}

  std::uint8_t byte() { return position < size ? data[position++] : 0; }
  std::uint32_t word() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= std::uint32_t{byte()} << (8 * i);
    return value;
  }
  std::uint64_t codeWord() {
    const std::uint64_t low = word();
    return low | std::uint64_t{word()} << 32;
  }
  std::size_t remaining() const { return position < size ? size - position : 0; }

 private:
  const std::uint8_t* data;
  std::size_t size;
  std::size_t position = 0;
};
