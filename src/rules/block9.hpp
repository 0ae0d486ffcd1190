// Totals: 0990 (lines of block 0), 9001, 9900 (records per type), 9990 (lines
// of block 9), 9999 (lines of the file), and the check at the end that every
// type present or required has its 9900.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/record_types.hpp"

namespace volp {

struct Run;
struct Record;

// The 9900 that totals one record type: the first one read for the type is
// kept, with what a finding at the end needs to point back at its field 03.
struct Total9900 {
  bool seen = false;
  int64_t offset = 0;
  int64_t line = 0;
  int64_t stated = 0;   // QTD_REG_BLC as read
  int32_t column = 0;   // of QTD_REG_BLC
  std::string content;  // QTD_REG_BLC's text
};

struct Block9State {
  Total9900 totals[kRecordTypeCount];  // one slot per row of kRecordTypes

  // The 9990 read (its QTD_LIN_9 can only be judged at the 9999, when the
  // block-9 count is complete).
  bool seen_9990 = false;
  int64_t offset_9990 = 0;
  int64_t line_9990 = 0;
  bool has_qtd_lin_9 = false;  // the 9990 supplied its field 02
  int64_t qtd_lin_9 = 0;
  int32_t qtd_lin_9_column = 0;
  std::string qtd_lin_9_text;
};

void ValidarRegistro_0990(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9001(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9900(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9990(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_9999(Run& run, Record& rec, int prev_type, int src_line);

void VerificacaoRegistro_9900(Run& run, int64_t offset, int64_t line, int src_line);

}  // namespace volp
