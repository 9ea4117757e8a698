#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace gwconf::client {

/// Bytes of the C heap that grow, so that what is handed to a caller is plain malloc'ed memory.
class Buffer {
 public:
  Buffer() = default;
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() { std::free(bytes_); }

  [[nodiscard]] char* data() noexcept { return bytes_; }
  [[nodiscard]] const char* data() const noexcept { return bytes_; }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }

  /// Makes room for `more` bytes behind the used ones, at least doubling. False without memory;
  /// nothing is lost then.
  [[nodiscard]] bool reserve(std::size_t more) noexcept {
    if (more <= capacity_ - size_) return true;
    const std::size_t capacity = std::max(size_ + more, capacity_ * 2);
    void* grown = std::realloc(bytes_, capacity);
    if (!grown) return false;
    bytes_ = static_cast<char*>(grown);
    capacity_ = capacity;
    return true;
  }

  /// Counts `more` bytes, written behind the used ones into reserved room, as used.
  void commit(std::size_t more) noexcept { size_ += more; }

  [[nodiscard]] bool append(const void* bytes, std::size_t count) noexcept {
    if (!reserve(count)) return false;
    std::memcpy(bytes_ + size_, bytes, count);
    size_ += count;
    return true;
  }

  void shrink_to(std::size_t size) noexcept { size_ = size; }

  /// Hands the memory over, to be given back with free.
  [[nodiscard]] char* release() noexcept {
    size_ = capacity_ = 0;
    return std::exchange(bytes_, nullptr);
  }

 private:
  char* bytes_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

/// Objects of the C heap: this library carries no operator new.
struct Destroy {
  template <typename T>
  void operator()(T* object) const noexcept {
    object->~T();
    std::free(object);
  }
};

template <typename T>
using Owned = std::unique_ptr<T, Destroy>;

/// None without memory.
template <typename T>
[[nodiscard]] Owned<T> make() noexcept {
  void* memory = std::malloc(sizeof(T));
  return Owned<T>{memory ? new (memory) T : nullptr};
}

}  // namespace gwconf::client
