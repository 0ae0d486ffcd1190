// The declaration file read once, in large blocks, as lines of at most 9,999
// bytes (a longer line comes in 9,999-byte pieces). Each block is handed to a
// second thread that feeds SHA-256 while the first validates, so the digest
// costs almost nothing on a two-core machine. A line is a view into a block
// and stays valid until the next call.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "platform/platform.hpp"

namespace volp {

class Sha256 {
 public:
  Sha256();
  ~Sha256();
  bool ok() const { return ctx_ != nullptr; }
  bool Update(const char* data, size_t n);
  // 64 upper-case hex digits; false on failure.
  bool Final(std::string* hex);

 private:
  void* ctx_ = nullptr;  // EVP_MD_CTX
};

class LineSource {
 public:
  // `hash` may be null (no digest wanted). The clock ticks spent reading the
  // file (and waiting for a free block) are added to `*read_ticks` when given.
  LineSource(platform::InputFile& file, Sha256* hash, uint64_t* read_ticks = nullptr);
  ~LineSource();
  LineSource(const LineSource&) = delete;
  LineSource& operator=(const LineSource&) = delete;

  // The next line, CR LF included; false at end of file (or on a read error,
  // see read_failed()).
  bool Next(std::string_view* line);
  bool read_failed() const { return read_failed_; }

  // Stops the hashing thread after it has hashed every released block, then
  // hashes the rest of the input up to file offset `upto` (the end of the
  // last line the run took). With `finish` false the digest is abandoned.
  // Returns false when an update failed.
  bool FinishHash(int64_t upto, bool finish);

 private:
  static constexpr size_t kCarry = 10000;    // room for the start of a cut line
  static constexpr size_t kBlock = 4 << 20;  // bytes read at a time
  static constexpr int kSlots = 4;

  struct Slot {
    std::unique_ptr<char[]> buf;
    int64_t fresh_offset = 0;  // file offset of buf[kCarry]
    size_t fresh_len = 0;      // bytes read into buf + kCarry
    bool busy = false;         // queued for (or being) hashed
  };

  void Refill();
  void Release(int slot);
  void HashLoop();

  platform::InputFile& file_;
  Sha256* hash_;
  uint64_t* read_ticks_;
  Slot slots_[kSlots];
  int cur_ = -1;
  const char* pos_ = nullptr;
  const char* end_ = nullptr;
  int64_t next_offset_ = 0;
  bool eof_ = false;
  bool read_failed_ = false;

  // Hashing thread.
  std::thread thread_;
  std::mutex mu_;
  std::condition_variable cv_;
  int queue_[kSlots + 1];
  int q_head_ = 0, q_tail_ = 0;
  bool stopping_ = false;
  bool abandon_ = false;
  bool hash_failed_ = false;
};

}  // namespace volp
