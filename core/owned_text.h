#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "core/heap.h"

namespace gwconf {

/// A NUL-terminated text of its owner's, one pointer wide, so that a record costs what a plain
/// pointer costs. None (no text) and the empty text are different things. Moves, never copies by
/// itself.
class OwnedText {
 public:
  OwnedText() = default;
  OwnedText(OwnedText&& other) noexcept : text_{std::exchange(other.text_, nullptr)} {}
  OwnedText& operator=(OwnedText&& other) noexcept {
    if (this != &other) give_back(std::exchange(text_, std::exchange(other.text_, nullptr)));
    return *this;
  }
  OwnedText(const OwnedText&) = delete;
  OwnedText& operator=(const OwnedText&) = delete;
  ~OwnedText() { give_back(text_); }

  /// Takes over a text that came from heap_allocate, or none.
  [[nodiscard]] static OwnedText adopt(char* text) noexcept;

  /// Becomes a copy of `source` (which may be a view of this very text). False when there is no
  /// memory; the old text then stays.
  [[nodiscard]] bool assign(std::string_view source) noexcept;

  /// Becomes a copy of `source`, none included. False when there is no memory; the old text then
  /// stays.
  [[nodiscard]] bool assign(const OwnedText& source) noexcept {
    if (source) return assign(source.view());
    reset();
    return true;
  }

  void reset() noexcept { give_back(std::exchange(text_, nullptr)); }

  /// Hands the text to the caller, who gives it back with heap_release.
  [[nodiscard]] char* release() noexcept;

  /// The bytes of all texts that have an owner at the moment, their NULs included.
  [[nodiscard]] static std::size_t bytes_in_use() noexcept;

  /// The text, or none.
  [[nodiscard]] const char* get() const noexcept { return text_; }

  /// The text; the empty text stands for none.
  [[nodiscard]] const char* c_str() const noexcept { return text_ ? text_ : ""; }

  /// The text as a view; none gives a view without data.
  [[nodiscard]] std::string_view view() const noexcept {
    return text_ ? std::string_view{text_} : std::string_view{};
  }

  explicit operator bool() const noexcept { return text_ != nullptr; }

 private:
  static void give_back(char* text) noexcept;

  char* text_ = nullptr;
};

static_assert(sizeof(OwnedText) == sizeof(char*));

}  // namespace gwconf
