// One split record: where the fields of one line lie, not copies of them.
// The split notes the pipes' positions; a field's text, column and length
// are worked out from them when a check asks. Nothing here owns memory; the
// texts stay valid until the next record is read.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/record_types.hpp"

namespace volp {

// One field as the checks see it, worked out from the record.
struct Field {
  std::string_view text;  // the field's bytes (no NUL inside the line is special)
  int32_t column = 0;     // 1-based column of the first byte in the line
  int32_t length = 0;     // length as reported in findings
  bool filled = false;    // the text is not empty (set by the split)
  bool valid = false;     // passed every check of its type (set by the field analysis)
};

struct Record {
  const RecordTypeDef* type = nullptr;
  int type_index = -1;  // row of kRecordTypes
  int found = 0;        // fields the line really had (before padding)
  // Some byte of the line is not Latin-1 text (0x00-0x1F, 0x7F, 0x80-0x9F):
  // only then does the field analysis count such bytes field by field.
  bool has_control = false;

  // The line the fields lie in (its line end cut off). A line is at most
  // 9,999 bytes, so 16 bits hold any position in it.
  const char* line = nullptr;
  // Where field i's text begins and ends in the line (the type field of a
  // line with no second pipe ends where the line does). A field the line
  // did not have is an empty span at 0, so that its text needs no test.
  struct Span {
    uint16_t begin;
    uint16_t end;
  };
  Span span[kMaxFields] = {};
  // The column given to the fields the line did not have (the last pipe's
  // 0-based position: the column before the final token).
  int32_t pad_column = 0;
  // Bit i: field i is filled / valid.
  uint32_t filled_bits = 0;
  uint32_t valid_bits = 0;
  // Bit i: field i was already found plainly good (the field analysis's
  // shortcut, run by a split worker on the line split ahead of time). When
  // every field of the layout is, the analysis has nothing left to do.
  uint32_t known_valid = 0;

  const FieldDef& def(int i) const { return type->fields[i]; }
  int field_count() const { return type->field_count; }

  std::string_view text(int i) const {
    return std::string_view(line + span[i].begin, static_cast<size_t>(span[i].end - span[i].begin));
  }
  int32_t column(int i) const { return i < found ? span[i].begin + 1 : pad_column; }
  int32_t length(int i) const { return i < found ? span[i].end - span[i].begin : 1; }
  bool filled(int i) const { return (filled_bits >> i & 1) != 0; }
  bool valid(int i) const { return (valid_bits >> i & 1) != 0; }
  void set_valid(int i, bool on) { SetBit(valid_bits, i, on); }
  Field field(int i) const { return Field{text(i), column(i), length(i), filled(i), valid(i)}; }

 private:
  static void SetBit(uint32_t& bits, int i, bool on) {
    const uint32_t b = uint32_t{1} << i;
    bits = on ? bits | b : bits & ~b;
  }
};
static_assert(kMaxFields < 32, "one bit per field");

// The description of a field that a finding points at. Usually built from a
// record's field and its layout row; some checks describe a field ad hoc
// (a field beyond the layout, the record type of an unknown record, a field
// of an earlier record).
struct FieldRef {
  const char* name = "";  // Latin-1 display name ("" = none)
  int32_t column = -1;
  std::string_view content;
  int32_t length = 0;

  static FieldRef Of(const Record& r, int i) {
    return FieldRef{r.def(i).name, r.column(i), r.text(i), r.length(i)};
  }
};

}  // namespace volp
