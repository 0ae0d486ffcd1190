// Where the faults fall and the findings each must produce. A fault is
// applied at the first fitting record at or after its requested line, or, for
// a random fault, at the opportunity drawn after a dry run counted them; each
// applied fault lists the findings the validator must report for it, with
// their lines, byte positions and messages.
#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "generator/writer.hpp"

namespace volpgen::detail {
namespace {

// printf into a std::string: the messages of the findings.
std::string Format(const char* fmt, ...) {
  char buf[600];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  return buf;
}

}  // namespace

void Gen::StatedCount(const char* type, int kind, int64_t count, const char* where) {
  const int f = Pick(cur_, Bit(kind), line_);
  if (f >= 0) {
    Expect(f, line_, offset_, type, 2, 2,
           Format("Informou %s registros no %s mas encontrou %s registros.",
                  Milhar(count + 1).c_str(), where, Milhar(count).c_str()));
    ++count;
  }
  Num(count);
}

int Gen::Pick(Cursor& c, uint32_t kinds, int64_t line) {
  if (faults_.empty() && !counting_) return -1;
  int64_t index[kFaultKindCount];
  for (int k = 0; k < kFaultKindCount; ++k)
    if (kinds & Bit(k)) index[k] = c.opp[k]++;
  if (counting_) return -1;
  // Kinds that change totals first (see kSumKinds), then the others.
  for (int pass = 0; pass < 2; ++pass) {
    for (size_t i = 0; i < faults_.size(); ++i) {
      const Fault& f = faults_[i];
      const int k = f.request.kind;
      if (!(kinds & Bit(k)) || (c.fired >> i & 1)) continue;
      if (((kSumKinds & Bit(k)) != 0) != (pass == 0)) continue;
      const bool due = f.request.line > 0 ? line >= f.request.line : index[k] >= f.target;
      if (f.request.line == 0 && f.target < 0) continue;
      if (!due) continue;
      c.fired |= uint64_t{1} << i;
      return static_cast<int>(i);
    }
  }
  return -1;
}

void Gen::Expect(int fault, int64_t line, int64_t offset, const char* type, int field, int severity,
                 std::string message) {
  Fault& f = faults_[static_cast<size_t>(fault)];
  if (f.applied < 0) {
    f.applied = static_cast<int>(sum_.faults.size());
    AppliedFault a;
    a.kind = f.request.kind;
    a.requested_line = f.request.line;
    a.line = line;
    sum_.faults.push_back(std::move(a));
  }
  ExpectedFinding e;
  e.line = line;
  e.offset = offset;
  e.record_type = type;
  e.field = field;
  e.severity = severity;
  e.message = std::move(message);
  sum_.faults[static_cast<size_t>(f.applied)].findings.push_back(std::move(e));
}

void Gen::ExpectLfOnly(int fault) {
  Expect(fault, line_, offset_, "", 0, 2,
         "Encontrou o caractere LF no final do registro e faltou antes o caractere CR. Cada "
         "registro do arquivo deve terminar com CR e LF.");
}

void Gen::ExpectDup0100(int fault, int64_t client, int64_t line, int64_t offset) {
  char code[32];
  std::snprintf(code, sizeof code, "CLI%08lld", static_cast<long long>(client));
  Expect(fault, line_, offset_, "0100", 2, 2,
         Format("Esse Código de Cliente '%s' já foi encontrado na linha %s e posição %s no "
                "arquivo.",
                code, Milhar(line).c_str(), Milhar(offset).c_str()));
}

void Gen::Expect0100(int fault, int kind, int64_t line, int64_t offset, const Client& cl,
                     const char* doc, int cep, int other) {
  const int doc_len = cl.cpf ? 11 : 14;
  char cep_text[16];
  std::snprintf(cep_text, sizeof cep_text, "%08d", cep);
  switch (kind) {
    case kCnpjDigit:
    case kCpfDigit: {
      const int at = doc_len - 2;
      const int wrong = doc[at] - '0';
      const int right = cl.doc[at] - '0';
      const int field = cl.cpf ? 4 : 3;
      Expect(fault, line, offset, "0100", field, 2,
             Format("O dígito verificador 1 não confere! Tem valor %d mas deveria ter %d.", wrong,
                    right));
      const std::string text(doc, static_cast<size_t>(doc_len));
      Expect(fault, line, offset, "0100", field, 2,
             cl.cpf ? Format("Campo 04 - 'CPF do Beneficiário ou Importador' contém CPF '%s' "
                             "inválido.",
                             text.c_str())
                    : Format("Campo 03 - 'CNPJ do Estabelecimento ou Importador' contém CNPJ "
                             "'%s' inválido.",
                             text.c_str()));
      break;
    }
    case kBadDate:
      Expect(fault, line, offset, "0100", 13, 2,
             "Campo 13 - 'DT_CREDEN - Data do credenciamento do Beneficiário' contém data "
             "inválida.");
      break;
    case kCepUf:
      Expect(fault, line, offset, "0100", 7, 2,
             Format("O campo 07 - 'CEP do estabelecimento ou usuário' contém '%s' que pertence a "
                    "UF '%s' e não pertence a UF '%s' informado no campo 09 do registro 0100.",
                    cep_text, kUfs[other].sigla, kUfs[cl.uf].sigla));
      break;
    case kNonLatin1:
      Expect(fault, line, offset, "0100", 5, 2,
             "Campo 05 - 'N_FANT - Nome fantasia ou do usuário' contém 2 caracteres inválidos "
             "não representável na codificação ASC-II - ISO 8859-1 (Latin-1).");
      break;
    default:
      break;
  }
}

void Gen::ExpectCpfLow(const Client& cl, const Totals& month) {
  for (const auto& [client, fault] : low_) {
    if (client != cl.index) continue;
    // The monthly check of people declared by CPF asks to remove the 1100.
    std::string valor, qtd;
    if (month.sum < 337500)
      valor = Format(" O valor total mensal é %s inferior a 3375,00.", Moeda(month.sum).c_str());
    if (month.records < 30)
      qtd = Format(" A quantidade total mensal é %s inferior a 30.", Milhar(month.records).c_str());
    // Another fault may have added a transaction that lifts the client
    // to both minimums: then nothing is to be removed, and the fault
    // stays unplaced.
    if (valor.empty() && qtd.empty()) continue;
    Expect(fault, line_, offset_, "1100", 3, 2,
           Format("Deve ser removido esse registro 1100 e seus registros descendentes referente "
                  "ao CPF %.11s. Motivo:%s%s",
                  cl.doc, valor.c_str(), qtd.c_str()));
  }
}

void Gen::Expect1110(int fault, int kind, const Totals& day, const Totals& month, int64_t valor,
                     int64_t qtd, int64_t line_1100, int64_t offset_1100) {
  if (kind == kSum1110) {
    Expect(fault, line_, offset_, "1110", 4, 2,
           Format("Registro 1110 com VALOR '%s' que não confere com o somatório VALOR '%s' "
                  "de %s registro%s 1115.",
                  Moeda(valor).c_str(), Moeda(day.sum).c_str(), Milhar(day.records).c_str(),
                  Plural(day.records)));
    Expect(fault, line_1100, offset_1100, "1100", 8, 2,
           Format("Registro 1100 com VALOR '%s' que não confere com o somatório VALOR '%s' "
                  "de %s registro%s 1110.",
                  Moeda(month.sum).c_str(), Moeda(month.sum + 1).c_str(),
                  Milhar(month.groups).c_str(), Plural(month.groups)));
  } else if (kind == kQty1110) {
    Expect(fault, line_, offset_, "1110", 5, 2,
           Format("Registro 1110 com QTD '%s' que não confere com %s registro%s 1115.",
                  Milhar(qtd).c_str(), Milhar(day.records).c_str(), Plural(day.records)));
    Expect(fault, line_1100, offset_1100, "1100", 9, 2,
           Format("Registro 1100 com QTD '%s' que não confere com o somatório QTD '%s' de "
                  "%s registro%s 1110.",
                  Milhar(month.records).c_str(), Milhar(month.records + 1).c_str(),
                  Milhar(month.groups).c_str(), Plural(month.groups)));
  }
}

void Gen::Expect1115(int fault, int kind, int64_t first_line, int64_t first_offset,
                     int64_t line_1110, const Totals* day_totals) {
  switch (kind) {
    case kDup1115:
      Expect(fault, first_line + 1, offset_, "1115", 0, 2,
             Format("Esse registro já foi encontrado na linha %s e posição %s no arquivo.",
                    Milhar(first_line).c_str(), Milhar(first_offset).c_str()));
      break;
    case kZero1115:
      Expect(fault, first_line, first_offset, "1115", 8, 2,
             "No campo 08 - 'Valor da operação' o valor é 0,00!");
      break;
    case kSum1115: {
      const int64_t sum = day_totals->sum;
      Expect(fault, line_1110, offset_1110_, "1110", 4, 2,
             Format("Registro 1110 com VALOR '%s' que não confere com o somatório VALOR '%s' de "
                    "%s registro%s 1115.",
                    Moeda(sum).c_str(), Moeda(sum + 1).c_str(), Milhar(day_totals->records).c_str(),
                    Plural(day_totals->records)));
      break;
    }
    case kNatOper:
      Expect(fault, first_line, first_offset, "1115", 9, 2,
             "No campo 09 - 'NAT_OPER - Natureza da operação' o valor pode ser 1 a 8, ou 10 "
             "ou 11 e não: 9.");
      break;
    case kBandeira:
      Expect(fault, first_line, first_offset, "1115", 6, 1,
             "No campo BANDEIRA a bandeira pode ter valor 1 a 35 ou 99 e não: '36'.");
      break;
    default:
      break;
  }
}

void Gen::ExpectOrder(int fault) {
  Expect(fault, line_, offset_, "9900", 0, 2,
         Format("Deveria ter o registro 9999 e não o %s.", "9900"));
}

void Gen::Expect9900(const bool* drop, const int* dropped_fault, int order, int last) {
  // Findings of the end check, at the 9999.
  for (int t = 0; t < kTypes; ++t)
    if (drop[t])
      Expect(dropped_fault[t], line_, offset_, "9900", 0, 2,
             Format("Não encontrou o registro 9900 correspondente ao registro %s.", kCodes[t]));
  if (order >= 0)
    Expect(order, line_, offset_, "9900", 0, 2,
           Format("Não encontrou o registro 9900 correspondente ao registro %s.", kCodes[last]));
}

}  // namespace volpgen::detail
