// A growing array of plain values (bytes, small records) for buffers of many megabytes.
//
// It grows with realloc: the C library moves a large block by remapping its pages (glibc),
// where std::vector copies every byte into fresh memory, touching twice the pages it keeps;
// the kernel makes each fresh page on first touch. Index sorts fill such buffers with tens of
// megabytes of entries, table after table.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace jet {

template <typename T>
class TrivialArray {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  TrivialArray() = default;
  ~TrivialArray() { std::free(data_); }
  TrivialArray(TrivialArray&& other) noexcept { swap(other); }
  TrivialArray& operator=(TrivialArray&& other) noexcept {
    TrivialArray(std::move(other)).swap(*this);
    return *this;
  }
  TrivialArray(const TrivialArray&) = delete;
  TrivialArray& operator=(const TrivialArray&) = delete;

  void swap(TrivialArray& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

  T* data() noexcept { return data_; }
  const T* data() const noexcept { return data_; }
  std::size_t size() const noexcept { return size_; }
  std::size_t capacity() const noexcept { return capacity_; }
  bool empty() const noexcept { return size_ == 0; }
  T& operator[](std::size_t i) noexcept { return data_[i]; }
  const T& operator[](std::size_t i) const noexcept { return data_[i]; }
  T* begin() noexcept { return data_; }
  T* end() noexcept { return data_ + size_; }
  const T* begin() const noexcept { return data_; }
  const T* end() const noexcept { return data_ + size_; }

  // Capacity for at least `n` values; what is held stays. Throws std::bad_alloc.
  void reserve(std::size_t n) {
    if (n <= capacity_) return;
    if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_alloc();
    void* grown = std::realloc(data_, n * sizeof(T));
    if (!grown) throw std::bad_alloc();
    data_ = static_cast<T*>(grown);
    capacity_ = n;
  }
  void push_back(const T& value) {
    if (size_ == capacity_) reserve(capacity_ < 8 ? 8 : capacity_ * 2);
    data_[size_++] = value;
  }
  void append(const T* values, std::size_t n) {
    if (n == 0) return;
    if (n > capacity_ - size_) reserve(size_ + n > capacity_ * 2 ? size_ + n : capacity_ * 2);
    std::memcpy(data_ + size_, values, n * sizeof(T));
    size_ += n;
  }
  // Keeps the capacity.
  void clear() noexcept { size_ = 0; }

 private:
  T* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace jet
