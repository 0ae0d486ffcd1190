// The declaration file read once, in large blocks, as lines of at most 9,999
// bytes (a longer line comes in 9,999-byte pieces). A second thread reads the
// blocks ahead, in pieces of 256 KiB, and while each piece is still in the
// core's cache maps where its line ends, pipes and non-Latin-1 bytes are and
// feeds it to SHA-256, so on a two-core machine neither the reading, nor
// looking at every byte, nor the digest stands in the validation's way. A
// line is a view into a block and stays valid until the next call.
//
// The digest runs ahead of the validation, so each block keeps a copy of the
// digest's state as it was before the block's first byte: a run that stops
// early goes back to the copy of the block in hand and hashes that block's
// bytes up to the end of the last line it took.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/platform.hpp"
#include "platform/sha256.hpp"
#include "reading/line_bits.hpp"
#include "reading/presplit.hpp"

namespace volp {

using Sha256 = platform::Sha256;

class LineSource {
 public:
  // Bytes of a block unless told otherwise. Four slots of 2 MiB hold the
  // read-ahead of two busy threads; larger blocks only cost memory, which the
  // largest files need for their registries.
  static constexpr size_t kDefaultBlock = 2 << 20;

  // `hash` may be null (no digest wanted). The clock ticks spent reading the
  // file (and waiting for a free block) are added to `*read_ticks` when given.
  // `block` is the size of a block (0: kDefaultBlock), `piece` the
  // bytes read, mapped and hashed at a time (0: the default of 256 KiB; taken
  // down to a multiple of 64, at most the block); the lines and the digest
  // are the same whatever they are. With `second_thread` false (or no thread
  // to be had) the blocks are read on the caller's thread as it needs them.
  //
  // `split_workers` threads (besides the reading one) split the blocks' clean
  // lines ahead of time, block by block, instead of the reading thread doing
  // it piece by piece: worth it when the reading thread has a core of its own
  // and the digest keeps it busy. Workers also run `precheck` (when given) on
  // each line they split, and leave its answer in the line's known_valid.
  LineSource(platform::InputFile& file, Sha256* hash, uint64_t* read_ticks = nullptr,
             size_t block = 0, size_t piece = 0, bool second_thread = true, int split_workers = 0,
             PreCheck precheck = nullptr);
  ~LineSource();
  LineSource(const LineSource&) = delete;
  LineSource& operator=(const LineSource&) = delete;

  // The next line, CR LF included; false at end of file (or on a read error,
  // see read_failed()).
  bool Next(std::string_view* line);
  bool read_failed() const { return read_failed_; }
  // The pipe and non-Latin-1 maps of the line Next() returned, or null for a
  // line that began in the block before (its start was carried over).
  const LineBits* bits() const { return has_bits_ ? &bits_ : nullptr; }
  // The line Next() returned as the reading thread split it ahead of time
  // (see presplit.hpp), or null when it was not; its fields' ends lie at
  // presplit_ends() + presplit()->ends_at.
  const PreSplitLine* presplit() const { return pre_line_; }
  const uint8_t* presplit_ends() const { return pre_ends_; }

  // Stops the reading thread and leaves in the digest the bytes of the file
  // up to offset `upto`, the end of the last line the run took: it lies in
  // the block in hand (or is its start). With `finish` false the digest is
  // abandoned. Returns false when the digest of those bytes failed.
  bool FinishHash(int64_t upto, bool finish);

 private:
  static constexpr size_t kCarry = 10000;      // room for the start of a cut line
  static constexpr size_t kPiece = 256 << 10;  // bytes read, mapped and hashed at a time
  // One block in hand and up to three read ahead: enough to ride out a slow
  // read, while each slot holds 2 MiB of text and 0.75 MiB of maps.
  static constexpr int kSlots = 4;

  // Blocks are numbered from 0 in file order; block b lives in slot b % kSlots.
  struct Slot {
    std::unique_ptr<char[]> buf;
    std::unique_ptr<uint64_t[]> lf, bar, bad;  // bits of the fresh bytes
    int64_t fresh_offset = 0;                  // file offset of buf[kCarry]
    size_t fresh_len = 0;                      // bytes read into buf + kCarry
    bool last = false;                         // the file (or the reading) ended in this block
    std::unique_ptr<Sha256> before;            // the digest before buf[kCarry]
    bool before_ok = false;                    // `before` holds that state
    // Lines split ahead of time, in file order, and their fields' ends. The
    // lists keep their room from block to block.
    std::vector<PreSplitLine> pre;
    FieldEnds ends;
    bool split_done = false;  // the lists are complete (with split workers; under mu_)
  };

  void Refill();
  void Fill(int64_t block);  // reads, maps, hashes and splits the block's fresh bytes
  // Splits ahead of time the lines of `s` that end in fresh[from, to).
  static void PreSplitLines(Slot& s, const char* fresh, size_t from, size_t to, size_t* line_start,
                            int* hint, PreCheck precheck);
  void Work();       // the second thread: reads ahead
  void SplitWork();  // a split worker: splits read blocks in order of reading
  void StopWorkers();

  platform::InputFile& file_;
  const size_t block_;
  const size_t piece_;
  Sha256* hash_;
  uint64_t* read_ticks_;
  const PreCheck precheck_;
  Slot slots_[kSlots];
  int64_t current_ = -1;  // block in hand
  const char* pos_ = nullptr;
  const char* end_ = nullptr;
  bool eof_ = false;
  bool read_failed_ = false;
  // The block in hand: its fresh bytes and their maps.
  const char* fresh_ = nullptr;
  const uint64_t* lf_bits_ = nullptr;
  LineBits bits_;
  bool has_bits_ = false;
  // The block in hand's lines split ahead of time: the next one not yet met.
  const PreSplitLine* pre_next_ = nullptr;
  const PreSplitLine* pre_end_ = nullptr;
  const uint8_t* pre_ends_ = nullptr;
  const PreSplitLine* pre_line_ = nullptr;  // the line in hand's, or null
  // The digest, fed by whichever thread reads (read here once it stopped).
  int64_t hashed_bytes_ = 0;  // bytes of the file in *hash_
  bool hash_failed_ = false;  // an update failed: *hash_ took no more

  // Shared with the second thread, under mu_.
  std::thread thread_;
  std::vector<std::thread> workers_;
  bool split_in_fill_ = true;  // the reading splits each piece itself (no workers)
  int64_t next_split_ = 0;     // the next block a worker takes (under mu_)
  std::mutex mu_;
  std::condition_variable cv_;
  int64_t filled_ = 0;       // blocks read
  int64_t released_ = 0;     // blocks the validation is done with
  int64_t next_offset_ = 0;  // file offset of the next block to read
  bool reading_done_ = false;
  bool stopping_ = false;
  std::atomic<bool> stop_reading_{false};  // looked at between pieces, without mu_
};

}  // namespace volp
