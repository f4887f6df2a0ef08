// SPDX-License-Identifier: Apache-2.0
// A file descriptor as a stream whose reading ends at once when another thread says so.
#pragma once

#include <array>
#include <istream>
#include <streambuf>

namespace mercato::gateway {

class StoppableInput {
 public:
  // The descriptor stays open, and stays the caller's.
  explicit StoppableInput(int descriptor) : bytes_(descriptor), stream_(&bytes_) {}

  std::istream& stream() { return stream_; }
  // Who reads, or waits for something to read, finds the end. Any thread.
  void stop() { bytes_.stop(); }

 private:
  class Bytes : public std::streambuf {
   public:
    explicit Bytes(int descriptor);
    ~Bytes() override;
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;
    void stop() const;

   protected:
    int_type underflow() override;

   private:
    int descriptor_;
    int stopped_;  // readable once it is stopped
    std::array<char, 65536> block_;
  };

  Bytes bytes_;
  std::istream stream_;
};

}  // namespace mercato::gateway
