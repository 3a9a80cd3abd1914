#pragma once

// The bytes of one fuzz input, taken from the front as values; zeros once they are used up, so that
// every input is a valid one.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool empty() const { return size_ == 0; }
  template <class T>
  T Next() {
    T value{};
    const size_t count = size_ < sizeof value ? size_ : sizeof value;
    std::memcpy(&value, data_, count);
    data_ += count;
    size_ -= count;
    return value;
  }
  uint8_t Byte() { return Next<uint8_t>(); }
  /// 0 to count - 1.
  int Below(int count) { return Byte() % count; }
  bool Flag() { return (Byte() & 1) != 0; }
  template <class List>
  const auto& OneOf(const List& list) {
    return *std::next(std::begin(list), Next<uint16_t>() % std::size(list));
  }
  std::string Bytes(size_t most) {
    const size_t wanted = Byte() % (most + 1);
    const size_t count = size_ < wanted ? size_ : wanted;
    std::string bytes(reinterpret_cast<const char*>(data_), count);
    data_ += count;
    size_ -= count;
    return bytes;
  }

 private:
  const uint8_t* data_;
  size_t size_;
};
