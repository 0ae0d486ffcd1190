// The fields of each record type, letter for letter as the format defines
// them: the odd spellings ("Códido", "comverciais") and the size 0 of
// QTD_REG_BLC in 9900 are part of the format and stay as they are. Constant
// expressions, so that code can be specialised for a layout at compile time;
// everything else reads them through kRecordTypes.
#pragma once

#include <iterator>

#include "core/latin1.hpp"
#include "core/record_types.hpp"
#include "core/rows.hpp"

namespace volp::layout {

inline constexpr FieldDef k0000[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0000"_l1},
    {1, kNumerico, 2, 0, 'S', "COD_VER - Código da versão do leiaute"_l1},
    {2, kNumerico, 1, 0, 'S', "COD_FIN - Código da finalidade do arquivo"_l1},
    {3, kUf, 2, 0, 'S', "UF_FISCO - Sigla da UF do Fisco"_l1},
    {4, kCnpj, 14, 0, 'S', "CNPJ do informante"_l1},
    {5, kTexto, 255, 0, 'S', "Nome Empresarial"_l1},
    {6, kData, 8, 0, 'S',
     "DT_INI - Data do início do período referente as informações prestadas"_l1},
    {7, kData, 8, 0, 'S', "DT_FIN - Data do fim do período referente as informações prestadas"_l1},
    {8, kNumerico, 1, 0, 'S', "TP_AMB - Tipo de ambiente: 1 produção, 2 homologação"_l1},
    {9, kAnoMes, 6, 0, 'S', "MES_VAL - Ano e Mês de validação do arquivo"_l1},
};
inline constexpr FieldDef k0001[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0001"_l1},
    {1, kNumerico, 1, 0, 'S', "IND_MOV - Indicador de movimento"_l1},
};
inline constexpr FieldDef k0005[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0005"_l1},
    {1, kTexto, 255, 0, 'S', "Nome Fantasia"_l1},
    {2, kTexto, 255, 0, 'S', "Endereço completo"_l1},
    {3, kCep, 8, 0, 'S', "CEP"_l1},
    {4, kMunicipio, 7, 0, 'N', "COD_MUN - Códido IBGE do Município"_l1},
    {5, kUf, 2, 0, 'S', "UF - Sigla da Unidade da Federação"_l1},
    {6, kTexto, 255, 0, 'S', "NOME_RESP - Nome da pessoa responsável para contato"_l1},
    {7, kNumerico, 20, 0, 'S', "Número de telefone para contato"_l1},
    {8, kEmail, 255, 0, 'S', "e-mail oficial"_l1},
};
inline constexpr FieldDef k0100[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0100"_l1},
    {1, kTexto, 255, 0, 'S', "COD_CLIENTE - Código do cliente"_l1},
    {2, kCnpj, 14, 0, 'E', "CNPJ do Estabelecimento ou Importador"_l1},
    {3, kCpf, 11, 0, 'E', "CPF do Beneficiário ou Importador"_l1},
    {4, kTexto, 255, 0, 'S', "N_FANT - Nome fantasia ou do usuário"_l1},
    {5, kTexto, 255, 0, 'S', "Endereço do estabelecimento ou usuário"_l1},
    {6, kCep, 8, 0, 'S', "CEP do estabelecimento ou usuário"_l1},
    {7, kMunicipio, 7, 0, 'N', "COD_MUN - Código IBGE do município"_l1},
    {8, kUf, 2, 0, 'S', "Sigla da Unidade da Federação"_l1},
    {9, kTexto, 255, 0, 'N', "NOME_RESP - Nome de contato ou responsável"_l1},
    {10, kNumerico, 20, 0, 'N', "FONE_CONT - Telefone do contato ou responsável"_l1},
    {11, kEmail, 255, 0, 'N', "EMAIL_CONT - e-mail do contato ou responsável"_l1},
    {12, kData, 8, 0, 'S', "DT_CREDEN - Data do credenciamento do Beneficiário"_l1},
    {13, kNumerico, 1, 0, 'N', "IND_SUB - Indicador de operação de intermediação"_l1},
};
inline constexpr FieldDef k0105[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0105"_l1},
    {1, kCnpj, 14, 0, 'S', "CNPJ da VAN"_l1},
    {2, kTexto, 255, 0, 'S', "Nome comercial da VAN"_l1},
    {3, kNumerico, 10, 0, 'N', "Quantidade de transações do cliente"_l1},
};
inline constexpr FieldDef k0200[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0200"_l1},
    {1, kTexto, 255, 0, 'S', "COD_MCAPT - Código do Meio de Captura"_l1},
    {2, kTexto, 255, 0, 'S', "NUM_LOG - Número Lógico do Meio de Captura"_l1},
    {3, kNumerico, 1, 0, 'S', "TIPO_TECN - Tipo de tecnologia"_l1},
    {4, kNumerico, 1, 0, 'S', "TERM_PROP - Tipo de terminal: 0 - próprio, 1 - de terceiro"_l1},
    {5, kTexto, 255, 0, 'N', "Marca"_l1},
};
inline constexpr FieldDef k0300[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0300"_l1},
    {1, kTexto, 255, 0, 'S',
     "COD_IP_PAR - Código de identificação da Instituição de Pagamento Parceira"_l1},
    {2, kCnpj, 14, 0, 'S', "CNPJ"_l1},
    {3, kTexto, 255, 0, 'S', "Nome Empresarial"_l1},
    {4, kTexto, 255, 0, 'S', "Endereço completo"_l1},
    {5, kCep, 8, 0, 'S', "CEP da instituição parceira"_l1},
    {6, kMunicipio, 7, 0, 'N', "COD_MUN - Código IBGE do Município"_l1},
    {7, kUf, 2, 0, 'S', "Sigla da Unidade da Federação"_l1},
    {8, kTexto, 255, 0, 'N', "NOME_RESP - Nome da pessoa para contato"_l1},
    {9, kNumerico, 20, 0, 'N', "FONE_CONT - Telefone para contato"_l1},
    {10, kEmail, 255, 0, 'N', "EMAIL_CONT - e-mail do contato"_l1},
};
inline constexpr FieldDef k0600[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0600"_l1},
    {1, kNumerico, 1, 0, 'S', "TP_AUTORIZ - Tipo de registro de autorização"_l1},
    {2, kCnpj, 14, 0, 'S', "CNPJ"_l1},
    {3, kNumerico, 1, 0, 'S', "TP_TRANSAC - Existirão transações comverciais"_l1},
    {4, kTexto, 255, 0, 'S', "Nome fantasia da instituição autorizada"_l1},
    {5, kTexto, 255, 0, 'S', "Endereço completo"_l1},
    {6, kCep, 8, 0, 'S', "CEP"_l1},
    {7, kMunicipio, 7, 0, 'N', "COD_MUN - Código IBGE do Município"_l1},
    {8, kUf, 2, 0, 'S', "Sigla da Unidade da Federação"_l1},
    {9, kTexto, 255, 0, 'S', "NOME_RESP - Nome da pessoa para contato"_l1},
    {10, kNumerico, 20, 0, 'S', "FONE_CONT - Telefone para contato"_l1},
    {11, kEmail, 255, 0, 'S', "EMAIL_CONT - e-mail do contato"_l1},
    {12, kData, 8, 0, 'S', "DT_INI_AUT - Data de habilitação da instituição autorizada"_l1},
    {13, kData, 8, 0, 'N',
     "DT_FIM_AUT - Data de cancelamento da habilitação da instituição autorizada"_l1},
};
inline constexpr FieldDef k0990[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 0990"_l1},
    {1, kNumerico, 12, 0, 'S', "QTD_LIN_0 - Quantidade total de linhas do bloco 0"_l1},
};
inline constexpr FieldDef k1001[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1001"_l1},
    {1, kNumerico, 1, 0, 'S', "IND_MOV - Indicador de movimento"_l1},
};
inline constexpr FieldDef k1100[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1100"_l1},
    {1, kTexto, 255, 0, 'N',
     "COD_IP_PAR - Código de identificação da Instituição de Pagamento Parceira"_l1},
    {2, kTexto, 255, 0, 'S', "COD_CLIENTE - Código de identificação do Cliente"_l1},
    {3, kNumerico, 1, 0, 'S', "IND_COMEX - Indicador de transação de pagamento ao exterior"_l1},
    {4, kNumerico, 1, 0, 'S', "IND_EXTEMP - Indicador de informação extemporânea"_l1},
    {5, kData, 8, 0, 'S', "DT_INI - Data inicial das informações para este CNPJ/CPF"_l1},
    {6, kData, 8, 0, 'S', "DT_FIN - Data final das informações para este CNPJ/CPF"_l1},
    {7, kNumerico, 18, 2, 'S', "VALOR - Valor total das operações"_l1},
    {8, kNumerico, 10, 0, 'S', "QTD - Quantidade de operações"_l1},
};
inline constexpr FieldDef k1110[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1110"_l1},
    {1, kTexto, 255, 0, 'S', "COD_MCAPT - Código do meio de captura"_l1},
    {2, kData, 8, 0, 'S', "DT_OP - Data da operação"_l1},
    {3, kNumerico, 10, 2, 'S', "VALOR - Valor total diário das operações realizadas na data"_l1},
    {4, kNumerico, 10, 0, 'S', "QTD - Quantidade total diária de operações realizadas na data"_l1},
    {5, kCnpj, 14, 0, 'N',
     "CNPJ_ADQUI - CNPJ da Adquirente ou subadquirente que autorizou a transação"_l1},
};
inline constexpr FieldDef k1115[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1115"_l1},
    {1, kTexto, 255, 0, 'N', "NSU - Número sequencial único"_l1},
    {2, kTexto, 255, 0, 'N',
     "COD_AUT - Identificação do código de identificação da autorização"_l1},
    {3, kTexto, 255, 0, 'N', "ID_TRANSAC - Identificação da transação de pagamento"_l1},
    {4, kNumerico, 1, 0, 'S', "IND_SPLIT - Indicador de operação splitada"_l1},
    {5, kNumerico, 2, 0, 'S', "BANDEIRA - Bandeira do Cartão do Cliente"_l1},
    {6, kHora, 6, 0, 'S', "Hora da transação"_l1},
    {7, kNumerico, 10, 2, 'S', "Valor da operação"_l1},
    {8, kNumerico, 2, 0, 'S', "NAT_OPER - Natureza da operação"_l1},
    {9, kTexto, 255, 0, 'N', "GEO - Georeferenciamento"_l1},
};
inline constexpr FieldDef k1120[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1120"_l1},
    {1, kUf, 2, 0, 'S',
     "UF_DEST - UF para qual foi destinada a transação comercial ou prestação de serviço"_l1},
    {2, kChaveAcesso, 44, 0, 'N', "CHAVE_NF - Chave da NFe ou NFCe"_l1},
    {3, kCnpj, 14, 0, 'N', "CNPJ_DEST - CNPJ do destinatário da transação"_l1},
    {4, kCpf, 11, 0, 'N', "CPF_DEST - CPF do destinatário da transação"_l1},
    {5, kTexto, 255, 0, 'N',
     "ID_DEST - Identificação de destinatários sem cadastro de CPF ou CNPJ"_l1},
    {6, kChaveAcesso, 44, 0, 'N', "CHAVE_NFSE - Chave da NFS-e"_l1},
    {7, kChaveAcesso, 44, 0, 'N', "CHAVE_DCE - Chave da DC-e"_l1},
    {8, kUf, 2, 0, 'N', "UF da saída da mercadoria ou prestação do serviço"_l1},
    {9, kCnpj, 14, 0, 'N',
     "CNPJ de quem promoveu a saída da mercadoria ou prestação de serviço"_l1},
};
inline constexpr FieldDef k1200[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1200"_l1},
    {1, kTexto, 255, 0, 'N',
     "COD_IP_PAR - Código de identificação da Instituição de Pagamento Parceira"_l1},
    {2, kTexto, 255, 0, 'S', "COD_CLIENTE - Código do cliente"_l1},
    {3, kTexto, 255, 0, 'S', "COD_MCAPT - Código do Meio de Captura"_l1},
    {4, kTexto, 255, 0, 'N', "NSU - Número sequencial único da transação original"_l1},
    {5, kTexto, 255, 0, 'N',
     "COD_AUT - Identificação do código de autorização da transação original"_l1},
    {6, kTexto, 255, 0, 'N', "ID_TRANSAC - Identificação da transação de pagamento original"_l1},
    {7, kData, 8, 0, 'S', "DT_OP - Data da transação original"_l1},
    {8, kData, 8, 0, 'S', "DT_CANC - Data do cancelamento"_l1},
    {9, kNumerico, 1, 0, 'S', "TIPO_CANC - Tipo de cancelamento"_l1},
    {10, kNumerico, 10, 2, 'S', "VL_ORIG - Valor original total"_l1},
    {11, kNumerico, 10, 2, 'S', "VL_CANC - Valor cancelado"_l1},
};
inline constexpr FieldDef k1220[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1220"_l1},
    {1, kUf, 2, 0, 'S',
     "UF_DEST - UF para qual foi destinada a transação comercial ou de prestação de serviço"_l1},
    {2, kChaveAcesso, 44, 0, 'N', "CHAVE_NF - Chave da NFe ou NFCe"_l1},
    {3, kCnpj, 14, 0, 'N', "CNPJ_DEST - CNPJ do destinatário da transação"_l1},
    {4, kCpf, 11, 0, 'N', "CPF_DEST - CPF do destinatário da transação"_l1},
    {5, kTexto, 255, 0, 'N',
     "ID_DEST - Identificação do destinatário sem cadastro de CPF ou CNPJ"_l1},
};
inline constexpr FieldDef k1990[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 1990"_l1},
    {1, kNumerico, 12, 0, 'S', "QTD_LIN_1 - Quantidade total de linhas do bloco 1"_l1},
};
inline constexpr FieldDef k9001[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 9001"_l1},
    {1, kNumerico, 1, 0, 'S', "IND_MOV - Indicador de movimento"_l1},
};
inline constexpr FieldDef k9900[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 9900"_l1},
    {1, kNumerico, 4, 0, 'S', "REG_BLC - Registro que será totalizado no próximo campo"_l1},
    {2, kNumerico, 0, 0, 'S',
     "QTD_REG_BLC - Total de registros do tipo informado no campo anterior"_l1},
};
inline constexpr FieldDef k9990[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 9990"_l1},
    {1, kNumerico, 12, 0, 'S', "QTD_LIN_9 - Quantidade total de linhas do bloco 9"_l1},
};
inline constexpr FieldDef k9999[] = {
    {0, kNumerico, 4, 0, 'S', "Tipo 9999"_l1},
    {1, kNumerico, 12, 0, 'S', "QTD_LIN - Quantidade total de linhas do arquivo digital"_l1},
};

// Every named row against its table: the count, and the field's own name
// where the layout gives one ("COD_MCAPT - ...").
constexpr bool NomeComeca(const char* name, const char* prefix) {
  while (*prefix != '\0') {
    if (*name++ != *prefix++) return false;
  }
  return *name == ' ';
}
static_assert(f0000::kRows == std::size(k0000));
static_assert(NomeComeca(k0000[f0000::kCodVer].name, "COD_VER"));
static_assert(NomeComeca(k0000[f0000::kCodFin].name, "COD_FIN"));
static_assert(NomeComeca(k0000[f0000::kUfFisco].name, "UF_FISCO"));
static_assert(NomeComeca(k0000[f0000::kDtIni].name, "DT_INI"));
static_assert(NomeComeca(k0000[f0000::kDtFin].name, "DT_FIN"));
static_assert(NomeComeca(k0000[f0000::kTpAmb].name, "TP_AMB"));
static_assert(NomeComeca(k0000[f0000::kMesVal].name, "MES_VAL"));
static_assert(f0001::kRows == std::size(k0001));
static_assert(NomeComeca(k0001[f0001::kIndMov].name, "IND_MOV"));
static_assert(f0005::kRows == std::size(k0005));
static_assert(NomeComeca(k0005[f0005::kCodMun].name, "COD_MUN"));
static_assert(NomeComeca(k0005[f0005::kUf].name, "UF"));
static_assert(NomeComeca(k0005[f0005::kNomeResp].name, "NOME_RESP"));
static_assert(f0100::kRows == std::size(k0100));
static_assert(NomeComeca(k0100[f0100::kCodCliente].name, "COD_CLIENTE"));
static_assert(NomeComeca(k0100[f0100::kNFant].name, "N_FANT"));
static_assert(NomeComeca(k0100[f0100::kCodMun].name, "COD_MUN"));
static_assert(NomeComeca(k0100[f0100::kNomeResp].name, "NOME_RESP"));
static_assert(NomeComeca(k0100[f0100::kFoneCont].name, "FONE_CONT"));
static_assert(NomeComeca(k0100[f0100::kEmailCont].name, "EMAIL_CONT"));
static_assert(NomeComeca(k0100[f0100::kDtCreden].name, "DT_CREDEN"));
static_assert(NomeComeca(k0100[f0100::kIndSub].name, "IND_SUB"));
static_assert(f0105::kRows == std::size(k0105));
static_assert(f0200::kRows == std::size(k0200));
static_assert(NomeComeca(k0200[f0200::kCodMcapt].name, "COD_MCAPT"));
static_assert(NomeComeca(k0200[f0200::kNumLog].name, "NUM_LOG"));
static_assert(NomeComeca(k0200[f0200::kTipoTecn].name, "TIPO_TECN"));
static_assert(NomeComeca(k0200[f0200::kTermProp].name, "TERM_PROP"));
static_assert(f0300::kRows == std::size(k0300));
static_assert(NomeComeca(k0300[f0300::kCodIpPar].name, "COD_IP_PAR"));
static_assert(NomeComeca(k0300[f0300::kCodMun].name, "COD_MUN"));
static_assert(NomeComeca(k0300[f0300::kNomeResp].name, "NOME_RESP"));
static_assert(NomeComeca(k0300[f0300::kFoneCont].name, "FONE_CONT"));
static_assert(NomeComeca(k0300[f0300::kEmailCont].name, "EMAIL_CONT"));
static_assert(f0600::kRows == std::size(k0600));
static_assert(NomeComeca(k0600[f0600::kTpAutoriz].name, "TP_AUTORIZ"));
static_assert(NomeComeca(k0600[f0600::kTpTransac].name, "TP_TRANSAC"));
static_assert(NomeComeca(k0600[f0600::kCodMun].name, "COD_MUN"));
static_assert(NomeComeca(k0600[f0600::kNomeResp].name, "NOME_RESP"));
static_assert(NomeComeca(k0600[f0600::kFoneCont].name, "FONE_CONT"));
static_assert(NomeComeca(k0600[f0600::kEmailCont].name, "EMAIL_CONT"));
static_assert(NomeComeca(k0600[f0600::kDtIniAut].name, "DT_INI_AUT"));
static_assert(NomeComeca(k0600[f0600::kDtFimAut].name, "DT_FIM_AUT"));
static_assert(f0990::kRows == std::size(k0990));
static_assert(NomeComeca(k0990[f0990::kQtdLin0].name, "QTD_LIN_0"));
static_assert(f1001::kRows == std::size(k1001));
static_assert(NomeComeca(k1001[f1001::kIndMov].name, "IND_MOV"));
static_assert(f1100::kRows == std::size(k1100));
static_assert(NomeComeca(k1100[f1100::kCodIpPar].name, "COD_IP_PAR"));
static_assert(NomeComeca(k1100[f1100::kCodCliente].name, "COD_CLIENTE"));
static_assert(NomeComeca(k1100[f1100::kIndComex].name, "IND_COMEX"));
static_assert(NomeComeca(k1100[f1100::kIndExtemp].name, "IND_EXTEMP"));
static_assert(NomeComeca(k1100[f1100::kDtIni].name, "DT_INI"));
static_assert(NomeComeca(k1100[f1100::kDtFin].name, "DT_FIN"));
static_assert(NomeComeca(k1100[f1100::kValor].name, "VALOR"));
static_assert(NomeComeca(k1100[f1100::kQtd].name, "QTD"));
static_assert(f1110::kRows == std::size(k1110));
static_assert(NomeComeca(k1110[f1110::kCodMcapt].name, "COD_MCAPT"));
static_assert(NomeComeca(k1110[f1110::kDtOp].name, "DT_OP"));
static_assert(NomeComeca(k1110[f1110::kValor].name, "VALOR"));
static_assert(NomeComeca(k1110[f1110::kQtd].name, "QTD"));
static_assert(NomeComeca(k1110[f1110::kCnpjAdqui].name, "CNPJ_ADQUI"));
static_assert(f1115::kRows == std::size(k1115));
static_assert(NomeComeca(k1115[f1115::kNsu].name, "NSU"));
static_assert(NomeComeca(k1115[f1115::kCodAut].name, "COD_AUT"));
static_assert(NomeComeca(k1115[f1115::kIdTransac].name, "ID_TRANSAC"));
static_assert(NomeComeca(k1115[f1115::kIndSplit].name, "IND_SPLIT"));
static_assert(NomeComeca(k1115[f1115::kBandeira].name, "BANDEIRA"));
static_assert(NomeComeca(k1115[f1115::kNatOper].name, "NAT_OPER"));
static_assert(NomeComeca(k1115[f1115::kGeo].name, "GEO"));
static_assert(f1120::kRows == std::size(k1120));
static_assert(NomeComeca(k1120[f1120::kUfDest].name, "UF_DEST"));
static_assert(NomeComeca(k1120[f1120::kChaveNf].name, "CHAVE_NF"));
static_assert(NomeComeca(k1120[f1120::kCnpjDest].name, "CNPJ_DEST"));
static_assert(NomeComeca(k1120[f1120::kCpfDest].name, "CPF_DEST"));
static_assert(NomeComeca(k1120[f1120::kIdDest].name, "ID_DEST"));
static_assert(NomeComeca(k1120[f1120::kChaveNfse].name, "CHAVE_NFSE"));
static_assert(NomeComeca(k1120[f1120::kChaveDce].name, "CHAVE_DCE"));
static_assert(f1200::kRows == std::size(k1200));
static_assert(NomeComeca(k1200[f1200::kCodIpPar].name, "COD_IP_PAR"));
static_assert(NomeComeca(k1200[f1200::kCodCliente].name, "COD_CLIENTE"));
static_assert(NomeComeca(k1200[f1200::kCodMcapt].name, "COD_MCAPT"));
static_assert(NomeComeca(k1200[f1200::kNsu].name, "NSU"));
static_assert(NomeComeca(k1200[f1200::kCodAut].name, "COD_AUT"));
static_assert(NomeComeca(k1200[f1200::kIdTransac].name, "ID_TRANSAC"));
static_assert(NomeComeca(k1200[f1200::kDtOp].name, "DT_OP"));
static_assert(NomeComeca(k1200[f1200::kDtCanc].name, "DT_CANC"));
static_assert(NomeComeca(k1200[f1200::kTipoCanc].name, "TIPO_CANC"));
static_assert(NomeComeca(k1200[f1200::kVlOrig].name, "VL_ORIG"));
static_assert(NomeComeca(k1200[f1200::kVlCanc].name, "VL_CANC"));
static_assert(f1220::kRows == std::size(k1220));
static_assert(NomeComeca(k1220[f1220::kUfDest].name, "UF_DEST"));
static_assert(NomeComeca(k1220[f1220::kChaveNf].name, "CHAVE_NF"));
static_assert(NomeComeca(k1220[f1220::kCnpjDest].name, "CNPJ_DEST"));
static_assert(NomeComeca(k1220[f1220::kCpfDest].name, "CPF_DEST"));
static_assert(NomeComeca(k1220[f1220::kIdDest].name, "ID_DEST"));
static_assert(f1990::kRows == std::size(k1990));
static_assert(NomeComeca(k1990[f1990::kQtdLin1].name, "QTD_LIN_1"));
static_assert(f9001::kRows == std::size(k9001));
static_assert(NomeComeca(k9001[f9001::kIndMov].name, "IND_MOV"));
static_assert(f9900::kRows == std::size(k9900));
static_assert(NomeComeca(k9900[f9900::kRegBlc].name, "REG_BLC"));
static_assert(NomeComeca(k9900[f9900::kQtdRegBlc].name, "QTD_REG_BLC"));
static_assert(f9990::kRows == std::size(k9990));
static_assert(NomeComeca(k9990[f9990::kQtdLin9].name, "QTD_LIN_9"));
static_assert(f9999::kRows == std::size(k9999));
static_assert(NomeComeca(k9999[f9999::kQtdLin].name, "QTD_LIN"));

}  // namespace volp::layout
