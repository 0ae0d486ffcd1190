// Lines split ahead of time by the reading thread.
//
// Right after a piece of a block is read and mapped, while its bytes are
// still in the core's cache, the reading thread splits the lines that end in
// it, but only the lines about which the frame checks and the split have
// nothing to say: shorter than 255 bytes, ended by CR LF, starting and ending
// with a pipe, of a known record type and with no more fields than its
// layout. The validating thread then takes such a line's record as it is;
// any other line (and the first line of each block, which may have begun in
// the block before) goes through CheckAndSplit, which reports what is wrong.
// On two cores this moves the split off the thread that runs the rules.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "core/record.hpp"

namespace volp {

// 16 bytes a line, and one byte a field: a line split ahead of time is
// shorter than 255 bytes, so a field's end (the pipe after it) fits a byte,
// and each field begins one byte after the one before ends.
struct PreSplitLine {
  uint32_t start = 0;    // the line's first byte, counted from the block's fresh bytes
  uint32_t ends_at = 0;  // its first field end in the block's list of ends
  uint16_t filled_bits = 0;
  uint16_t known_valid = 0;  // see Record::known_valid; 0 unless a split worker checked
  int8_t type_index = -1;
  uint8_t length = 0;  // bytes of the line before its CR LF
  uint8_t found = 0;
  bool control = false;
};
static_assert(sizeof(PreSplitLine) == 16);

// The field ends of a block's lines split ahead of time, one list a slot,
// reused block after block. A line appends at most kMaxFields ends, written
// eight at a time with scratch past them, so there is always room for 32.
class FieldEnds {
 public:
  static constexpr size_t kRoom = 32;
  void clear() { size_ = 0; }
  const uint8_t* data() const { return data_.get(); }
  size_t size() const { return size_; }
  // Where the next ends go: at least kRoom writable bytes.
  uint8_t* Room() {
    if (capacity_ - size_ < kRoom) Grow();
    return data_.get() + size_;
  }
  void Added(size_t n) { size_ += n; }

 private:
  void Grow() {
    const size_t capacity = capacity_ < 4096 ? 4096 : capacity_ * 2;
    auto bigger = std::make_unique_for_overwrite<uint8_t[]>(capacity);
    if (size_ > 0) std::memcpy(bigger.get(), data_.get(), size_);
    data_ = std::move(bigger);
    capacity_ = capacity;
  }
  std::unique_ptr<uint8_t[]> data_;
  size_t size_ = 0, capacity_ = 0;
};

// Splits the line of `size` bytes (CR LF included) at `start` of the block's
// fresh bytes, with the block's pipe and non-Latin-1 maps, appending its
// fields' ends. False, with nothing appended, for a line that is not one the
// split ahead of time takes. `hint` is the type row of the line before.
bool PreSplit(const char* fresh, size_t start, size_t size, const uint64_t* bar,
              const uint64_t* bad, int hint, PreSplitLine* out, FieldEnds& ends);

// The fields of a record split ahead of time that need no further look
// (one bit per field): what a split worker works out for the field analysis.
// Given by the layer that owns the field checks.
using PreCheck = uint32_t (*)(const Record& rec);

// Fills `rec` from a line split ahead of time, exactly as CheckAndSplit
// would (without a finding to report); returns the type row.
int TakePreSplit(const char* line, const PreSplitLine& pre, const uint8_t* ends, Record& rec);

}  // namespace volp
