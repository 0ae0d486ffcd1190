#include "reading/line_source.hpp"

#include <algorithm>
#include <cstring>

namespace volp {

LineSource::LineSource(platform::InputFile& file, Sha256* hash, uint64_t* read_ticks, size_t block)
    : file_(file), block_(block != 0 ? block : kBlock), hash_(hash), read_ticks_(read_ticks) {
  for (Slot& s : slots_) {
    s.buf.reset(new char[kCarry + block_]);
    s.lf.reset(new uint64_t[BitWords(block_)]);
    s.bar.reset(new uint64_t[BitWords(block_)]);
    s.bad.reset(new uint64_t[BitWords(block_)]);
  }
  try {
    thread_ = std::thread([this] { Work(); });
  } catch (...) {
    // No second thread: blocks are read and hashed on this one.
  }
}

LineSource::~LineSource() { FinishHash(0, false); }

bool LineSource::Next(std::string_view* line) {
  for (;;) {
    const size_t avail = static_cast<size_t>(end_ - pos_);
    const size_t limit = std::min<size_t>(avail, kCarry - 1);
    // Bits are indexed from the block's fresh bytes; a carried start holds
    // no line end (that is why it was carried).
    const ptrdiff_t at = pos_ - fresh_;
    has_bits_ = lf_bits_ != nullptr && at >= 0;
    bits_.first = static_cast<size_t>(at);
    if (limit > 0) {
      const ptrdiff_t to = at + static_cast<ptrdiff_t>(limit);
      if (to > 0) {
        const size_t from = at > 0 ? static_cast<size_t>(at) : 0;
        const size_t lf = NextBit(lf_bits_, from, static_cast<size_t>(to));
        if (lf < static_cast<size_t>(to)) {
          const char* next = fresh_ + lf + 1;
          *line = std::string_view(pos_, static_cast<size_t>(next - pos_));
          pos_ = next;
          return true;
        }
      }
      if (avail >= kCarry - 1) {
        // No line end within 9,999 bytes: this piece is a record of its own.
        *line = std::string_view(pos_, kCarry - 1);
        pos_ += kCarry - 1;
        return true;
      }
    }
    if (eof_) {
      if (avail == 0) return false;
      *line = std::string_view(pos_, avail);  // last line without a line end
      pos_ = end_;
      return true;
    }
    Refill();
  }
}

void LineSource::Fill(int64_t block) {
  Slot& s = slots_[block % kSlots];
  char* fresh = s.buf.get() + kCarry;
  size_t got = 0;
  bool failed = false;
  while (got < block_) {
    const int64_t r = file_.Read(fresh + got, static_cast<int64_t>(block_ - got));
    if (r < 0) {
      failed = true;
      break;
    }
    if (r == 0) break;
    got += static_cast<size_t>(r);
  }
  ClassifyBytes(fresh, got, s.lf.get(), s.bar.get(), s.bad.get());
  s.fresh_offset = next_offset_;
  s.fresh_len = got;
  s.last = got < block_;
  next_offset_ += static_cast<int64_t>(got);
  if (failed) read_failed_ = true;
}

void LineSource::Refill() {
  const uint64_t start = platform::Ticks();
  const int64_t next = current_ + 1;
  if (!thread_.joinable()) {
    Fill(next);
  } else {
    std::unique_lock<std::mutex> lock(mu_);
    cv_.wait(lock, [&] { return filled_ > next; });
  }
  Slot& s = slots_[next % kSlots];
  // Carry the start of a cut line over to the new block, then let the old
  // one go to the digest.
  const size_t carry = static_cast<size_t>(end_ - pos_);
  char* fresh = s.buf.get() + kCarry;
  if (carry > 0) std::memmove(fresh - carry, pos_, carry);
  if (current_ >= 0) {
    if (!thread_.joinable()) {
      const Slot& old = slots_[current_ % kSlots];
      if (hash_ != nullptr && !hash_->Update(old.buf.get() + kCarry, old.fresh_len))
        hash_failed_ = true;
    } else {
      std::lock_guard<std::mutex> lock(mu_);
      released_ = current_ + 1;
      cv_.notify_all();
    }
  }
  current_ = next;
  fresh_ = fresh;
  lf_bits_ = s.lf.get();
  bits_.bar = s.bar.get();
  bits_.bad = s.bad.get();
  pos_ = fresh - carry;
  end_ = fresh + s.fresh_len;
  eof_ = s.last;
  if (read_ticks_ != nullptr) *read_ticks_ += platform::Ticks() - start;
}

void LineSource::Work() {
  std::unique_lock<std::mutex> lock(mu_);
  for (;;) {
    if (hashed_ < released_) {
      // The digest first: it frees the slot for reading ahead.
      const Slot& s = slots_[hashed_ % kSlots];
      const bool skip = abandon_ || hash_ == nullptr;
      lock.unlock();
      const bool ok = skip || hash_->Update(s.buf.get() + kCarry, s.fresh_len);
      lock.lock();
      if (!ok) hash_failed_ = true;
      ++hashed_;
      cv_.notify_all();
      continue;
    }
    if (!reading_done_ && !stopping_ && filled_ - hashed_ < kSlots - 1) {
      // Read ahead into a slot whose block is hashed (and so no longer in
      // the validation's hands: one slot is always the block in hand).
      const int64_t block = filled_;
      lock.unlock();
      Fill(block);
      lock.lock();
      reading_done_ = slots_[block % kSlots].last;
      ++filled_;
      cv_.notify_all();
      continue;
    }
    if (stopping_) return;
    cv_.wait(lock);
  }
}

bool LineSource::FinishHash(int64_t upto, bool finish) {
  if (thread_.joinable()) {
    {
      std::lock_guard<std::mutex> lock(mu_);
      stopping_ = true;
      abandon_ = !finish;
      cv_.notify_all();
    }
    thread_.join();
  }
  if (!finish || hash_ == nullptr) return true;
  if (current_ >= 0) {
    // The block in hand was never released: hash it up to the last line taken.
    const Slot& s = slots_[current_ % kSlots];
    const int64_t n =
        std::clamp<int64_t>(upto - s.fresh_offset, 0, static_cast<int64_t>(s.fresh_len));
    if (!hash_->Update(s.buf.get() + kCarry, static_cast<size_t>(n))) hash_failed_ = true;
    current_ = -1;
  }
  return !hash_failed_;
}

}  // namespace volp
