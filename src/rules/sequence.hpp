// The rules on the sequence of records that depend on their values: the
// movement indicator of each block's opening record, a 0105 right after its
// 0100, one 1220 per 1200, and the records a file must contain. The order of
// record types as such is the structure machine's (structure/); it calls
// these where its rows say.
#pragma once

#include <cstdint>

namespace volp {

struct Run;
struct Record;

// What the movement indicator (IND_MOV, field 02 of 0001, 1001 and 9001) of
// a block's opening says about the records that follow it.
enum class Movimento : uint8_t {
  kRecusado,  // no usable indicator: the opening record is not accepted
  kSegue,     // the block's records follow
  kSemDados,  // block 1 declared without data: only its closing 1990 follows
};

// 0001: block 0 always has data.
Movimento IndicadorMovimento0001(Run& run, Record& rec);
// 1001: 0 (no data) or 1 against the purpose of the file.
Movimento IndicadorMovimento1001(Run& run, Record& rec);
// 9001: block 9 always has data; the 9900s follow in any case.
Movimento IndicadorMovimento9001(Run& run, Record& rec);

// A 0105 (a client's VAN) belongs right after its 0100; `previous_type` is
// the type of the record before it, as a number.
void VerificarAnterior0100(Run& run, Record& rec, int previous_type);
// A 1200 has at most one 1220.
void VerificarUm1220(Run& run, Record& rec, int previous_type);

// At the end of the file: every record type the file must have (0000, 0001,
// 0005, 0990, 1001, 1990, 9001, 9900, 9990, 9999) was seen.
void VerificarRegistrosObrigatorios(Run& run);

}  // namespace volp
