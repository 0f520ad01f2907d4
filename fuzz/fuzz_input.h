#pragma once

/// Numbers from a fuzz target's input.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace norv::fuzz {

/// Takes numbers off the input; zeros when it is used up.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool isEmpty() const { return size_ == 0; }

  template <class T>
  T take() {
    T value{};
    const std::size_t count = std::min(size_, sizeof(T));
    if (count > 0) std::memcpy(&value, data_, count);
    data_ += count;
    size_ -= count;
    return value;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

}  // namespace norv::fuzz
