// Placeholder until the field checks arrive.
#include "layout/field_analysis.hpp"

#include "validation/context.hpp"

namespace volp {

void AnalisarRegistro(Run&, Record& rec) {
  for (int i = 0; i < rec.field_count(); ++i) {
    rec.fields[i].filled = !rec.fields[i].text.empty();
    rec.fields[i].valid = true;
  }
}

}  // namespace volp
