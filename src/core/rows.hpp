// The rows of each record type's layout by name: f1110::kValor is the row of
// VALOR in a 1110 (row 0 is the record type itself). Checks name fields by
// these; core/layouts.hpp holds every name against its layout row.
#pragma once

namespace volp {

// The number a field is printed with in findings and messages: its row + 1
// ("campo 04" is row 3).
constexpr int CampoNumero(int row) { return row + 1; }

namespace f0000 {
enum Row : int {
  kReg,
  kCodVer,
  kCodFin,
  kUfFisco,
  kCnpj,
  kNome,
  kDtIni,
  kDtFin,
  kTpAmb,
  kMesVal,
  kRows
};
}  // namespace f0000
namespace f0001 {
enum Row : int { kReg, kIndMov, kRows };
}  // namespace f0001
namespace f0005 {
enum Row : int { kReg, kNomeFant, kEnd, kCep, kCodMun, kUf, kNomeResp, kFone, kEmail, kRows };
}  // namespace f0005
namespace f0100 {
enum Row : int {
  kReg,
  kCodCliente,
  kCnpj,
  kCpf,
  kNFant,
  kEnd,
  kCep,
  kCodMun,
  kUf,
  kNomeResp,
  kFoneCont,
  kEmailCont,
  kDtCreden,
  kIndSub,
  kRows
};
}  // namespace f0100
namespace f0105 {
enum Row : int { kReg, kCnpjVan, kNomeVan, kQtdTransac, kRows };
}  // namespace f0105
namespace f0200 {
enum Row : int { kReg, kCodMcapt, kNumLog, kTipoTecn, kTermProp, kMarca, kRows };
}  // namespace f0200
namespace f0300 {
enum Row : int {
  kReg,
  kCodIpPar,
  kCnpj,
  kNome,
  kEnd,
  kCep,
  kCodMun,
  kUf,
  kNomeResp,
  kFoneCont,
  kEmailCont,
  kRows
};
}  // namespace f0300
namespace f0600 {
enum Row : int {
  kReg,
  kTpAutoriz,
  kCnpj,
  kTpTransac,
  kNomeFant,
  kEnd,
  kCep,
  kCodMun,
  kUf,
  kNomeResp,
  kFoneCont,
  kEmailCont,
  kDtIniAut,
  kDtFimAut,
  kRows
};
}  // namespace f0600
namespace f0990 {
enum Row : int { kReg, kQtdLin0, kRows };
}  // namespace f0990
namespace f1001 {
enum Row : int { kReg, kIndMov, kRows };
}  // namespace f1001
namespace f1100 {
enum Row : int {
  kReg,
  kCodIpPar,
  kCodCliente,
  kIndComex,
  kIndExtemp,
  kDtIni,
  kDtFin,
  kValor,
  kQtd,
  kRows
};
}  // namespace f1100
namespace f1110 {
enum Row : int { kReg, kCodMcapt, kDtOp, kValor, kQtd, kCnpjAdqui, kRows };
}  // namespace f1110
namespace f1115 {
enum Row : int {
  kReg,
  kNsu,
  kCodAut,
  kIdTransac,
  kIndSplit,
  kBandeira,
  kHora,
  kValor,
  kNatOper,
  kGeo,
  kRows
};
}  // namespace f1115
namespace f1120 {
enum Row : int {
  kReg,
  kUfDest,
  kChaveNf,
  kCnpjDest,
  kCpfDest,
  kIdDest,
  kChaveNfse,
  kChaveDce,
  kUfOrig,
  kCnpjOrig,
  kRows
};
}  // namespace f1120
namespace f1200 {
enum Row : int {
  kReg,
  kCodIpPar,
  kCodCliente,
  kCodMcapt,
  kNsu,
  kCodAut,
  kIdTransac,
  kDtOp,
  kDtCanc,
  kTipoCanc,
  kVlOrig,
  kVlCanc,
  kRows
};
}  // namespace f1200
namespace f1220 {
enum Row : int { kReg, kUfDest, kChaveNf, kCnpjDest, kCpfDest, kIdDest, kRows };
}  // namespace f1220
namespace f1990 {
enum Row : int { kReg, kQtdLin1, kRows };
}  // namespace f1990
namespace f9001 {
enum Row : int { kReg, kIndMov, kRows };
}  // namespace f9001
namespace f9900 {
enum Row : int { kReg, kRegBlc, kQtdRegBlc, kRows };
}  // namespace f9900
namespace f9990 {
enum Row : int { kReg, kQtdLin9, kRows };
}  // namespace f9990
namespace f9999 {
enum Row : int { kReg, kQtdLin, kRows };
}  // namespace f9999

}  // namespace volp
