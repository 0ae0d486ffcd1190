// Records 0000 (header), 0001 (opening of block 0) and 0005 (declarant's
// address and contact).
#pragma once

namespace volp {

struct Run;
struct Record;

void ValidarRegistro_0000(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_0001(Run& run, Record& rec, int prev_type, int src_line);
void ValidarRegistro_0005(Run& run, Record& rec, int prev_type, int src_line);

}  // namespace volp
