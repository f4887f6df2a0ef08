// SPDX-License-Identifier: Apache-2.0
// A supplier's file as a stream of bytes, unpacked if it is packed. One thread.
#pragma once

#include <cstddef>
#include <string_view>

namespace mercato::exchange {

class Bytes {
 public:
  virtual ~Bytes() = default;
  // The next bytes, valid until the next call; empty at the end. Raises RaisedError when they cannot be had.
  virtual std::string_view next() = 0;
  // The first bytes, up to 64 KB, without moving on; fewer only when there are no more. Before the first `next`.
  virtual std::string_view peek() = 0;
};

// Bytes in memory, for tests, and for what has been read already; all at once, or in pieces of so many.
class BytesOfText final : public Bytes {
 public:
  explicit BytesOfText(std::string_view text, std::size_t piece = std::string_view::npos)
      : rest_(text), piece_(piece) {}
  std::string_view next() override {
    const std::string_view piece = rest_.substr(0, piece_);
    rest_.remove_prefix(piece.size());
    return piece;
  }
  std::string_view peek() override { return rest_.substr(0, std::size_t{64} * 1024); }

 private:
  std::string_view rest_;
  std::size_t piece_;
};

}  // namespace mercato::exchange
