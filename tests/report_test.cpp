#include "reports/report.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "core/context.hpp"
#include "core/latin1.hpp"
#include "fields/municipios.hpp"
#include "platform/platform.hpp"
#include "rules/state.hpp"
#include "support.hpp"

namespace volp {
namespace {

namespace fs = std::filesystem;

// The report's lines end as "\n" here on every system.
std::string Slurp(const std::string& path) { return test::ReadText(path); }

// A run with nothing read yet, whose report goes to a fresh directory.
class ReportTest : public ::testing::Test {
 protected:
  ReportTest() : run(ps, log, municipios, options, rules.block0, rules.block1, rules.block9) {
    dir = fs::temp_directory_path() /
          ("volp_report_" + std::to_string(platform::ProcessId()) + "_" +
           ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
    run.ctx.path = (dir / "decl.txt").string();
    run.ctx.report_name = (dir / "decl.validacao.xml").string();
    run.ctx.start_ns = platform::NowNs();
    run.ctx.start_time = std::time(nullptr);
  }
  ~ReportTest() override {
    // The run holds its working file open; Windows removes no open file.
    if (run.ctx.report_file.is_open()) run.ctx.report_file.Close();
    fs::remove_all(dir);
  }

  void Add(int64_t line, int type, int32_t field_index, const FieldRef* field, int32_t severity,
           const std::string& message) {
    run.ReportTextAt(line * 10, line, type, field_index, field, severity, message);
  }

  // Final and completing writes, as the end of a run makes them; the report.
  std::string Final() {
    EXPECT_EQ(GerarArquivoValidacao(run, kFinal), 0);
    EXPECT_EQ(GerarArquivoValidacao(run, kCompletar), 0);
    return Slurp(run.ctx.report_name);
  }
  std::string Work() const { return run.ctx.report_name + ".parcial"; }

  ProcessState ps;
  Log log;
  Municipios municipios;
  RunOptions options;
  RuleStates rules;
  volp::Run run;
  fs::path dir;
};

// The layout of the findings, the per-type table, the verdict and the times
// are compared whole by the golden reports; these tests cover what small
// input files do not reach.

TEST_F(ReportTest, FileDataAndEscaping) {
  ValidationContext& c = run.ctx;
  c.file_size = 2000001;
  c.declared_lines = 9;
  c.records_read = 7;
  c.records_read_at_end = 9;
  c.longest = 120;
  c.average = 60;
  c.shortest = 10;
  c.sha256 = std::string(64, 'A');
  c.cod_ver = "01";
  c.finalidade = 1;
  c.uf_fisco = "SP";
  c.cnpj = "11222333000181";
  c.nome = "Pague & Leve <Ltda>";
  c.endereco = "Rua A & B";
  c.contato = "Ana > Bia";
  c.email = "a&b@x.com";
  c.dt_ini = "20250101";
  c.dt_fin = "20250131";
  c.tp_amb = 2;
  c.uf = "RJ";
  c.mes_val = "202502";
  c.line_offsets = {123456789, 987654321};
  ps.known_records = 8;
  ps.unknown_records = 1;
  const FieldRef field{"Nome", 22, "A & <B>", 7};
  Add(2, kR0000, 5, &field, kErro, "Campo 06 - 'x' com & e <b>.");

  const std::string xml = Final();
  const std::string want =
      "  <DadosArquivo>\n"
      "    <NomeArquivo>" +
      c.path +
      "</NomeArquivo>\n"
      "    <TamanhoArquivo>2000001</TamanhoArquivo>\n"
      "    <NumeroRegistrosInformado>9</NumeroRegistrosInformado>\n"
      "    <NumeroRegistrosLido>9</NumeroRegistrosLido>\n"
      "    <NumeroRegistrosTotal>9</NumeroRegistrosTotal>\n"
      "    <MaiorTamanhoRegistro>120</MaiorTamanhoRegistro>\n"
      "    <MedioTamanhoRegistro>60</MedioTamanhoRegistro>\n"
      "    <MenorTamanhoRegistro>10</MenorTamanhoRegistro>\n"
      "    <sha256Arquivo>" +
      c.sha256 +
      "</sha256Arquivo>\n"
      "    <VersaoLayout>01</VersaoLayout>\n"
      "    <FinalidadeArquivo>1 - Remessa de arquivo normal</FinalidadeArquivo>\n"
      "    <UF_Fisco>SP</UF_Fisco>\n"
      "    <CNPJ_Instituicao>11222333000181</CNPJ_Instituicao>\n"
      "    <NomeInstituicao>Pague &amp; Leve &lt;Ltda&gt;</NomeInstituicao>\n"
      "    <EnderecoInstituicao>Rua A &amp; B</EnderecoInstituicao>\n"
      "    <ContatoInstituicao>Ana &gt; Bia</ContatoInstituicao>\n"
      "    <EmailContato>a&amp;b@x.com</EmailContato>\n"
      "    <DataInicial>20250101</DataInicial>\n"
      "    <DataFinal>20250131</DataFinal>\n"
      "    <TipoAmbiente>2 - homologa\xE7\xE3o</TipoAmbiente>\n"
      "    <UF_Instituicao>RJ</UF_Instituicao>\n"
      "    <AnoMesValidacao>202502</AnoMesValidacao>\n"
      "    <CacheLinhas>\n"
      "      <LinhasPorDeslocamento>1000000</LinhasPorDeslocamento>\n"
      "      <Deslocamento>123456789</Deslocamento>\n"
      "      <Deslocamento>987654321</Deslocamento>\n"
      "    </CacheLinhas>\n"
      "  </DadosArquivo>\n";
  EXPECT_NE(xml.find(want), std::string::npos) << xml;
  // Messages and contents are not escaped.
  EXPECT_NE(xml.find("      <Erro>Campo 06 - 'x' com & e <b>.</Erro>\n"), std::string::npos);
  EXPECT_NE(xml.find("        <Conteudo>A & <B></Conteudo>\n"), std::string::npos);
  EXPECT_NE(xml.find("<VersaoDLL>" VOLP_VERSION_TEXT "</VersaoDLL>\n  </DadosDLL>"),
            std::string::npos);
  EXPECT_FALSE(fs::exists(Work())) << "the working file is removed once copied";
}

// Empty header values and codes outside their lists leave their elements
// out; no findings, no <Criticas>.
TEST_F(ReportTest, EmptyOrUnknownValuesAreLeftOut) {
  for (int code : {0, 7, -1}) {
    run.ctx.finalidade = code;
    run.ctx.tp_amb = code == 7 ? 3 : code;
    const std::string xml = Final();
    for (const char* absent : {"FinalidadeArquivo", "TipoAmbiente", "<Criticas>", "VersaoLayout",
                               "NomeInstituicao", "CacheLinhas"})
      EXPECT_EQ(xml.find(absent), std::string::npos) << code << " " << absent;
    EXPECT_NE(xml.find("  </DadosArquivo>\n  <Resumo>\n"), std::string::npos);
    EXPECT_NE(xml.find("<sha256Arquivo></sha256Arquivo>"), std::string::npos);
  }
}

// Only the finding that names unrepresentable bytes leaves the content out;
// any other finding lists it byte for byte, control bytes included (a
// content is a C text: it ends at a NUL).
TEST_F(ReportTest, ContentIsLeftOutOnlyForTheUnrepresentableBytesFinding) {
  const std::string marker = "n\xE3o represent\xE1vel na codifica\xE7\xE3o ASC-II";
  const std::string numeric = "Campo 02 - 'COD_VER' deve ser num\xE9rico.";
  struct Case {
    std::string message;
    std::string content;
    const char* shown;  // the <Conteudo> line's text; null: no such line
  };
  const Case cases[] = {
      {"Campo 06 - 'Nome' cont\xE9m 1 caractere inv\xE1lido " + marker + " - ISO 8859-1 (Latin-1).",
       "AB", nullptr},
      {marker, "AB", nullptr},
      {numeric + " (a)", std::string("0\x01", 2), "0\x01"},
      {numeric + " (b)", std::string("0\0", 2), "0"},
      {numeric + " (c)", "0\x85", "0\x85"},
      {numeric + " (d)", "0\x7F", "0\x7F"},
      {"Campo 06 - 'Nome' \xE9 obrigat\xF3rio.", "\xC1gua Clara \xFF", "\xC1gua Clara \xFF"},
      // Part of the marker is not the marker.
      {marker.substr(0, 38), "AB", "AB"},
  };
  for (const Case& c : cases) {
    const FieldRef field{"Campo", 3, c.content, static_cast<int32_t>(c.content.size())};
    Add(2, kR0000, 1, &field, kErro, c.message);
  }
  const std::string xml = Final();
  for (const Case& c : cases) {
    const size_t begin = xml.find("<Erro>" + c.message + "</Erro>");
    ASSERT_NE(begin, std::string::npos) << c.message;
    const size_t end = xml.find("  </Erro>", begin);
    const std::string block = xml.substr(begin, end - begin);
    if (c.shown == nullptr) {
      EXPECT_EQ(block.find("<Conteudo>"), std::string::npos) << c.message;
    } else {
      EXPECT_NE(block.find("        <Conteudo>" + std::string(c.shown) + "</Conteudo>\n"),
                std::string::npos)
          << c.message << "\n"
          << block;
    }
    EXPECT_NE(block.find("<Tamanho>"), std::string::npos);
  }
}

TEST_F(ReportTest, FindingsOfOneLineKeepTheirOrder) {
  const int64_t lines[] = {5, 2, 5, 2, 5, 1};
  const char* messages[] = {"a", "b", "c", "d", "e", "f"};
  for (int i = 0; i < 6; ++i) Add(lines[i], kR0100, 0, nullptr, kErro, messages[i]);
  const std::string xml = Final();
  std::string order;
  const std::regex msg("      <Erro>([a-f])</Erro>");
  for (auto it = std::sregex_iterator(xml.begin(), xml.end(), msg); it != std::sregex_iterator();
       ++it)
    order += (*it)[1].str();
  EXPECT_EQ(order, "fbdace");
  // The list itself stays in recording order.
  EXPECT_EQ(ps.findings.list[0].message, "a");
}

TEST_F(ReportTest, PartialWritesAtMostEveryFiveSeconds) {
  run.ctx.file_size = 1000;
  run.ctx.end_offset = 500;
  ASSERT_EQ(GerarArquivoValidacao(run, kParcial), 0);
  const std::string xml = Slurp(Work());
  EXPECT_NE(xml.find("      <SituacaoValidacao>50,0% do arquivo a 0 reg/s terminando em"),
            std::string::npos);
  EXPECT_NE(xml.find("      <PID>" + std::to_string(platform::ProcessId()) + "</PID>\n"),
            std::string::npos);
  EXPECT_NE(xml.find("      <Registros>0</Registros>\n      <ValidadorMicrosegundos>"),
            std::string::npos);
  EXPECT_EQ(xml.substr(xml.size() - 8), "</VOLP>\n");
  EXPECT_FALSE(fs::exists(run.ctx.report_name)) << "a partial write never makes the report";

  fs::remove(Work());
  ASSERT_EQ(GerarArquivoValidacao(run, kParcial), 0);
#if !defined(_WIN32)  // Windows keeps a removed file's name while a handle to it is open
  EXPECT_FALSE(fs::exists(Work()));
#endif

  ps.last_partial_write -= 5;
  ASSERT_EQ(GerarArquivoValidacao(run, kParcial), 0);
  EXPECT_TRUE(fs::exists(Work()));
}

TEST_F(ReportTest, Verdict) {
  struct Case {
    int64_t rejected_lines;
    bool stop;
    int64_t end_offset;
    const char* want;
  };
  const std::string cancelled = "Valida\xE7\xE3o Cancelada";
  const std::string incomplete = "Valida\xE7\xE3o Incompleta";
  const Case cases[] = {
      {0, false, 100,
       "<ArquivoValido>0</ArquivoValido>\n"
       "      <SituacaoArquivo>Arquivo validado</SituacaoArquivo>\n"
       "      <DataHora"},
      {3, false, 100,
       "<ArquivoValido>2</ArquivoValido>\n"
       "      <SituacaoArquivo>Arquivo possui registros rejeitados</SituacaoArquivo>\n"
       "      <DataHora"},
      {0, true, 40, ""},
      {0, false, 40, ""},
  };
  for (const Case& c : cases) {
    ps.findings.rejected_lines = c.rejected_lines;
    ps.stop = c.stop;
    run.ctx.file_size = 100;
    run.ctx.end_offset = c.end_offset;
    const std::string xml = Final();
    std::string want = c.want;
    if (want.empty())
      want =
          "<ArquivoValido>0</ArquivoValido>\n"
          "      <SituacaoArquivo>Arquivo validado</SituacaoArquivo>\n"
          "      <SituacaoValidacao>" +
          (c.stop ? cancelled : incomplete) + "</SituacaoValidacao>\n";
    EXPECT_NE(xml.find(want), std::string::npos) << want;
  }
}

// The completing write puts only a whole final report in place: not one
// whose final write could not create its file (that write gives up
// quietly), and never a partial one.
TEST_F(ReportTest, CompletingWithoutAWholeFinalWriteLeavesNoReport) {
  const std::string report = run.ctx.report_name;
  ASSERT_EQ(GerarArquivoValidacao(run, kParcial), 0);
  ASSERT_TRUE(fs::exists(Work()));
  EXPECT_EQ(GerarArquivoValidacao(run, kCompletar), 1);
  EXPECT_FALSE(fs::exists(report));

  run.ctx.report_name = (dir / "missing" / "decl.validacao.xml").string();
  EXPECT_EQ(GerarArquivoValidacao(run, kFinal), 0);
  EXPECT_EQ(GerarArquivoValidacao(run, kCompletar), 1);
  EXPECT_FALSE(fs::exists(run.ctx.report_name));
}

TEST(ReportProgress, SituacaoValidacao) {
  struct Case {
    int64_t bytes, size, records, us, s;
    const char* want;
  };
  const Case cases[] = {
      {0, 1000, 0, 0, 0, "0,0% do arquivo a 0 reg/s terminando em 0s."},
      {125, 1000, 5000, 2000000, 1, "12,5% do arquivo a 2.500 reg/s terminando em 14s."},
      // No speed until more than one second has passed.
      {500, 1000, 5000, 1000000, 0, "50,0% do arquivo a 0 reg/s terminando em 1s."},
      {500, 1000, 0, 9000000, 0, "50,0% do arquivo a 0 reg/s terminando em 1s."},
      {500, 1000, 1000, 1000001, 0, "50,0% do arquivo a 1000 reg/s terminando em 1s."},
      {500, 1000, 1001, 1999999, 0, "50,0% do arquivo a 1.001 reg/s terminando em 1s."},
      // Only the last three digits of the speed are set apart.
      {500, 1000, 2469134, 2000000, 0, "50,0% do arquivo a 1234.567 reg/s terminando em 1s."},
      // Remaining time: 1000 bytes per second so far.
      {1000, 1000 + 59000, 1, 0, 0, "1,6% do arquivo a 0 reg/s terminando em 59s."},
      {1000, 1000 + 60000, 1, 0, 0, "1,6% do arquivo a 0 reg/s terminando em 1min0s."},
      {1000, 1000 + 3599000, 1, 0, 0, "0,0% do arquivo a 0 reg/s terminando em 59min59s."},
      {1000, 1000 + 3600000, 1, 0, 0, "0,0% do arquivo a 0 reg/s terminando em 1h0min."},
      {2000, 2000 + 7380000, 1, 0, 1, "0,0% do arquivo a 0 reg/s terminando em 2h3min."},
      {1000, 1000, 1, 0, 0, "100,0% do arquivo a 0 reg/s terminando em 0s."},
  };
  for (const Case& c : cases)
    EXPECT_EQ(SituacaoValidacao(c.bytes, c.size, c.records, c.us, c.s), c.want) << c.want;
}

TEST_F(ReportTest, RegistrationSummary) {
  run.ctx.cod_ver = "01";
  run.ctx.finalidade = 1;
  run.ctx.cnpj = "11222333000181";
  run.ctx.nome = "Loja";
  run.ctx.uf = "SP";
  ps.known_records = 3;
  ps.findings.per_type[kR0000].count = 1;
  ps.findings.per_type[kR9999].count = 2;
  const std::string stem = (dir / "decl").string();
  ASSERT_EQ(GerarArquivoRCAD(run, stem), 0);
  const std::string txt = Slurp(stem + ".rcad.txt");
  EXPECT_NE(txt.find("|0000|01|1||11222333000181|Loja|||||\n"), std::string::npos) << txt;
  EXPECT_NE(txt.find("|0005||||||SP|\n"), std::string::npos) << txt;
  EXPECT_NE(txt.find("|QTD|0000|1|\n|QTD|9999|2|\n|TOTAL|3|0|\n"), std::string::npos) << txt;
  EXPECT_EQ(GerarArquivoRCAD(run, (dir / "missing" / "decl").string()), 1);
}

}  // namespace
}  // namespace volp
