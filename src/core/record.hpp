// One split record: views into the read buffer, one per layout row. Nothing
// here owns memory; the views stay valid until the next record is read.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/record_types.hpp"

namespace volp {

struct Field {
  std::string_view text;  // the field's bytes (no NUL inside the line is special)
  int32_t column = 0;     // 1-based column of the first byte in the line
  int32_t length = 0;     // length as reported in findings
  bool filled = false;    // the text is not empty (set by the field analysis)
  bool valid = false;     // passed every check of its type (set by the field analysis)
};

struct Record {
  const RecordTypeDef* type = nullptr;
  int type_index = -1;  // row of kRecordTypes
  int found = 0;        // fields the line really had (before padding)
  // Some byte of the line is not Latin-1 text (0x00-0x1F, 0x7F, 0x80-0x9F):
  // only then does the field analysis count such bytes field by field.
  bool has_control = false;
  Field fields[kMaxFields];

  const FieldDef& def(int i) const { return type->fields[i]; }
  int field_count() const { return type->field_count; }
};

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
    const Field& f = r.fields[i];
    return FieldRef{r.def(i).name, f.column, f.text, f.length};
  }
};

}  // namespace volp
