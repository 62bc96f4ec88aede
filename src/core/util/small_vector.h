// CSmallVector: a vector whose first N elements live inside the object itself, so that the
// common small case (an OID's arcs, a short string's bytes, a request's few bindings) costs no
// heap allocation. Beyond N it grows on the heap like std::vector.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace tvkutil {

template <typename T, std::size_t N>
class CSmallVector {
  static_assert(N > 0, "at least one element in place");

 public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  CSmallVector() noexcept = default;
  ~CSmallVector() {
    clear();
    FreeHeap();
  }

  CSmallVector(const CSmallVector& other) requires std::is_copy_constructible_v<T> {
    assign(other.begin(), other.end());
  }
  CSmallVector& operator=(const CSmallVector& other) requires std::is_copy_constructible_v<T> {
    if (this != &other)
      assign(other.begin(), other.end());
    return *this;
  }
  CSmallVector(CSmallVector&& other) noexcept { TakeFrom(other); }
  CSmallVector& operator=(CSmallVector&& other) noexcept {
    if (this != &other) {
      clear();
      FreeHeap();
      TakeFrom(other);
    }
    return *this;
  }

  std::size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  std::size_t capacity() const noexcept { return capacity_; }
  T* data() noexcept { return data_; }
  const T* data() const noexcept { return data_; }
  iterator begin() noexcept { return data_; }
  iterator end() noexcept { return data_ + size_; }
  const_iterator begin() const noexcept { return data_; }
  const_iterator end() const noexcept { return data_ + size_; }
  T& operator[](std::size_t i) noexcept { return data_[i]; }
  const T& operator[](std::size_t i) const noexcept { return data_[i]; }
  T& back() noexcept { return data_[size_ - 1]; }
  const T& back() const noexcept { return data_[size_ - 1]; }

  void clear() noexcept {
    std::destroy(begin(), end());
    size_ = 0;
  }

  void reserve(std::size_t wanted) {
    if (wanted <= capacity_)
      return;
    const std::size_t grown = std::max(wanted, capacity_ * 2);
    T* fresh = static_cast<T*>(::operator new (grown * sizeof(T), std::align_val_t{alignof(T)}));
    MoveInto(fresh, data_, size_);
    std::destroy(begin(), end());
    FreeHeap();
    data_ = fresh;
    capacity_ = grown;
  }

  // For plain data: makes the size `count` without setting new elements, so a caller can fill
  // data() directly.
  void resize_uninitialized(std::size_t count) requires std::is_trivially_copyable_v<T> {
    reserve(count);
    size_ = count;
  }

  template <typename... Args>
  T& emplace_back(Args&&... args) {
    if (size_ == capacity_)
      reserve(size_ + 1);
    T* slot = std::construct_at(data_ + size_, std::forward<Args>(args)...);
    ++size_;
    return *slot;
  }
  void push_back(const T& value) { emplace_back(value); }
  void push_back(T&& value) { emplace_back(std::move(value)); }
  void pop_back() noexcept { std::destroy_at(data_ + --size_); }

  // Constructs an element so that it stands at index `at` (at most size()).
  template <typename... Args>
  T& emplace_at(std::size_t at, Args&&... args) {
    emplace_back(std::forward<Args>(args)...);
    std::rotate(begin() + at, end() - 1, end());
    return data_[at];
  }
  void erase_at(std::size_t at) {
    std::move(begin() + at + 1, end(), begin() + at);
    pop_back();
  }

  template <typename It>
  void assign(It first, It last) {
    clear();
    const auto count = static_cast<std::size_t>(std::distance(first, last));
    reserve(count);
    if constexpr (std::is_trivially_copyable_v<T> &&
                  std::is_same_v<std::remove_cvref_t<decltype(*first)>, T> &&
                  std::is_pointer_v<It>) {
      if (count != 0)
        std::memcpy(static_cast<void*>(data_), first, count * sizeof(T));
    } else {
      std::uninitialized_copy(first, last, data_);
    }
    size_ = count;
  }

  friend bool operator==(const CSmallVector& a, const CSmallVector& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
  }
  friend bool operator<(const CSmallVector& a, const CSmallVector& b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
  }

 private:
  static void MoveInto(T* to, T* from, std::size_t count) {
    if constexpr (std::is_trivially_copyable_v<T>) {
      if (count != 0)
        std::memcpy(static_cast<void*>(to), from, count * sizeof(T));
    } else {
      std::uninitialized_move(from, from + count, to);
    }
  }
  T* InPlace() noexcept { return std::launder(reinterpret_cast<T*>(in_place_)); }
  void FreeHeap() noexcept {
    if (data_ != InPlace())
      ::operator delete (data_, std::align_val_t{alignof(T)});
    data_ = InPlace();
    capacity_ = N;
  }
  // Takes other's elements (its heap block, or moves of its in-place ones); leaves it empty.
  void TakeFrom(CSmallVector& other) noexcept {
    if (other.data_ != other.InPlace()) {
      data_ = other.data_;
      capacity_ = other.capacity_;
      size_ = other.size_;
      other.data_ = other.InPlace();
      other.capacity_ = N;
      other.size_ = 0;
      return;
    }
    MoveInto(data_, other.data_, other.size_);
    size_ = other.size_;
    other.clear();
  }

  alignas(T) unsigned char in_place_[N * sizeof(T)];
  T* data_ = InPlace();
  std::size_t size_ = 0;
  std::size_t capacity_ = N;
};

}  // namespace tvkutil
