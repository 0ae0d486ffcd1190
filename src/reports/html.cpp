// The HTML page: one self-contained document (inline style, no request to
// any network, no script needed) that a person opens in a browser, on a phone
// as on a desk, and can print. Every text of the run is Latin-1 and reaches
// the page through Latin1ToUtf8 and Escape: markup characters become
// entities and control bytes become visible symbols, so no byte of the
// declaration can add markup to the page.
#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

#include "reports/outline.hpp"
#include "volp/reports.hpp"

namespace volp {
namespace {

using outline::Outcome;

// The bytes of a UTF-8 text that go into the page as they are: all but
// controls, the markup characters and the lead byte 0xC2 of the C1 controls.
constexpr std::array<bool, 256> kPlainHtml = [] {
  std::array<bool, 256> plain{};
  for (int c = 0x20; c < 256; ++c) plain[c] = true;
  for (int c : {0x26, 0x3C, 0x3E, 0x22, 0x27, 0x7F, 0xC2}) plain[c] = false;  // & < > " ' DEL
  return plain;
}();

// A UTF-8 text as HTML text or attribute value. Control characters (C0,
// DEL, and the C1 controls that bytes 0x80 to 0x9F of a Latin-1 field
// become) show as "\\x1B": every font has those letters. In text they are
// marked as well (`marked`), so that a reader sees that the field held such
// a byte.
void Escape(std::string& out, std::string_view utf8, bool marked = true) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  auto control = [&](unsigned b) {
    if (marked) out += "<span class=\"cb\">";
    out += "\\x";
    out.push_back(kHex[b >> 4]);
    out.push_back(kHex[b & 0xF]);
    if (marked) out += "</span>";
  };
  const size_t n = utf8.size();
  for (size_t i = 0; i < n; ++i) {
    // The plain run up to the next byte to look at, in one piece.
    size_t plain = i;
    while (plain < n && kPlainHtml[static_cast<unsigned char>(utf8[plain])]) ++plain;
    out.append(utf8.data() + i, plain - i);
    if (plain == n) break;
    i = plain;
    const auto c = static_cast<unsigned char>(utf8[i]);
    switch (c) {
      case '&':
        out += "&amp;";
        continue;
      case '<':
        out += "&lt;";
        continue;
      case '>':
        out += "&gt;";
        continue;
      case '"':
        out += "&quot;";
        continue;
      case '\'':
        out += "&#39;";
        continue;
      default:
        break;
    }
    if (c < 0x20 || c == 0x7F) {
      control(c);
    } else if (c == 0xC2 && i + 1 < utf8.size() &&
               static_cast<unsigned char>(utf8[i + 1]) >= 0x80 &&
               static_cast<unsigned char>(utf8[i + 1]) <= 0x9F) {
      control(static_cast<unsigned char>(utf8[++i]));
    } else {
      out.push_back(static_cast<char>(c));
    }
  }
}

void EscapeLatin1(std::string& out, std::string_view latin1, bool marked = true) {
  Escape(out, Latin1ToUtf8(latin1), marked);
}

void AppendInt(std::string& out, int64_t v) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

// 1234567 as "1.234.567", as numbers are written in Brazil.
void AppendCount(std::string& out, int64_t v) {
  if (v < 0) {
    out.push_back('-');
    v = v == INT64_MIN ? INT64_MAX : -v;
  }
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  const size_t n = static_cast<size_t>(r.ptr - buf);
  for (size_t i = 0; i < n; ++i) {
    if (i != 0 && (n - i) % 3 == 0) out.push_back('.');
    out.push_back(buf[i]);
  }
}

std::string Count(int64_t v) {
  std::string s;
  AppendCount(s, v);
  return s;
}

// Tenths of a per cent as "7,0%".
std::string Percent(int64_t per_mille) {
  return Count(per_mille / 10) + "," + std::to_string(per_mille % 10) + "%";
}

std::string Duration(double s) {
  if (!(s >= 0) || s > 1e9) s = 0;
  if (s >= 60) {
    const auto whole = static_cast<int64_t>(s);
    std::string out;
    if (whole >= 3600) out += std::to_string(whole / 3600) + "h ";
    return out + std::to_string(whole / 60 % 60) + "min " + std::to_string(whole % 60) + "s";
  }
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, s, std::chars_format::fixed, 3);
  std::string out(buf, r.ptr);
  for (char& c : out)
    if (c == '.') c = ',';
  return out + " s";
}

const char* SeverityClass(int32_t severity) { return severity == 1 ? "warn" : "err"; }

const char* Headline(Outcome o) {
  switch (o) {
    case Outcome::kValid:
      return "Arquivo validado";
    case Outcome::kRejected:
      return "Arquivo possui registros rejeitados";
    case Outcome::kIncomplete:
      return "Validação incompleta: sem parecer sobre o arquivo";
    case Outcome::kFailed:
      break;
  }
  return "Validação não realizada";
}

const char* StopText(StopReason reason) {
  switch (reason) {
    case StopReason::kNone:
      break;
    case StopReason::kErrorLimit:
      return "limite de erros atingido";
    case StopReason::kUnknownTypeLimit:
      return "limite de registros de tipo desconhecido atingido";
    case StopReason::kCancelled:
      return "validação cancelada";
    case StopReason::kReadError:
      return "erro de leitura do arquivo";
  }
  return "leitura completa";
}

constexpr std::string_view kStyle = R"css(
:root{--fg:#1d232a;--muted:#5b6670;--line:#d8dee4;--bg:#fff;--soft:#f4f6f8;
--ok:#1a7f37;--ok-bg:#dafbe1;--bad:#b42318;--bad-bg:#fde7e4;--mid:#8a5a00;--mid-bg:#fff4d6;
--na:#3f4a54;--na-bg:#e8ebee}
*{box-sizing:border-box}
body{margin:0;font:15px/1.45 system-ui,-apple-system,"Segoe UI",Roboto,sans-serif;color:var(--fg);background:var(--bg)}
main,header.verdict>div,nav>div,footer{max-width:1100px;margin:0 auto;padding:0 16px}
header.verdict{padding:18px 0 14px;border-bottom:4px solid}
header.verdict h1{margin:0 0 6px;font-size:1.5em;line-height:1.2}
header.verdict p{margin:4px 0}
.valid{background:var(--ok-bg);border-color:var(--ok);color:#0f4d22}
.rejected{background:var(--bad-bg);border-color:var(--bad);color:#7a1a12}
.incomplete{background:var(--mid-bg);border-color:#d4a100;color:#5c3d00}
.failed{background:var(--na-bg);border-color:var(--na);color:var(--na)}
.tally span{display:inline-block;margin-right:14px;white-space:nowrap}
nav{background:var(--soft);border-bottom:1px solid var(--line);position:sticky;top:0;z-index:1}
nav>div{display:flex;flex-wrap:wrap;gap:4px 18px;padding-top:8px;padding-bottom:8px}
nav a{color:#0b5cad;text-decoration:none;font-weight:600}
h2{font-size:1.2em;margin:28px 0 10px;padding-bottom:4px;border-bottom:1px solid var(--line)}
dl.facts{display:grid;grid-template-columns:max-content 1fr;gap:4px 16px;margin:0}
dl.facts dt{color:var(--muted)}
dl.facts dd{margin:0;overflow-wrap:anywhere}
.scroll{overflow-x:auto;-webkit-overflow-scrolling:touch}
table{border-collapse:collapse;width:100%;font-size:.93em}
table.types{width:auto;min-width:min(100%,560px)}
td.code{white-space:nowrap}
th,td{text-align:left;padding:5px 8px;border-bottom:1px solid var(--line);vertical-align:top}
th{background:var(--soft);font-weight:600;white-space:nowrap}
td.n,th.n{text-align:right;font-variant-numeric:tabular-nums;white-space:nowrap}
table.types tr.zero td{color:#9aa4ad}
code,.mono{font-family:ui-monospace,"SFMono-Regular",Consolas,"Liberation Mono",monospace;font-size:.92em}
.content{font-family:ui-monospace,Consolas,"Liberation Mono",monospace;font-size:.9em;overflow-wrap:anywhere;min-width:7em}
.msg{min-width:16em}
.cb{background:#fde7e4;color:var(--bad);border-radius:2px;padding:0 1px;white-space:nowrap}
.sev{display:inline-block;font-size:.8em;font-weight:700;padding:1px 6px;border-radius:9px;white-space:nowrap}
.sev.err{background:var(--bad-bg);color:var(--bad)}
.sev.warn{background:var(--mid-bg);color:var(--mid)}
.stop{display:inline-block;font-size:.8em;padding:1px 6px;border-radius:9px;background:var(--na-bg);color:var(--na);white-space:nowrap}
details.group{border:1px solid var(--line);border-radius:6px;margin:8px 0;background:#fff}
details.group>summary{cursor:pointer;padding:8px 10px}
details.group>summary .count{font-weight:700;font-variant-numeric:tabular-nums}
details.group>summary .where{color:var(--muted)}
details.group[open]>summary{border-bottom:1px solid var(--line);background:var(--soft)}
details.group>.body{padding:8px 12px 12px}
.template{margin:0 0 8px;color:var(--muted)}
.more{margin:8px 0 0;color:var(--muted)}
table.findings tr:target td{background:#fff8c5}
tr.follows td{color:var(--muted)}
a{color:#0b5cad}
.note{color:var(--muted)}
footer{margin:32px auto 24px;color:var(--muted);font-size:.85em}
@media (max-width:600px){
body{font-size:14px}
header.verdict h1{font-size:1.25em}
dl.facts{grid-template-columns:1fr}
dl.facts dt{margin-top:6px}
th,td{padding:4px 6px}
table.examples thead,table.findings thead{display:none}
table.examples tr,table.findings tr{display:block;padding:6px 0;border-bottom:1px solid var(--line)}
table.examples td,table.findings td{display:inline-block;border:0;padding:1px 10px 1px 0;text-align:left}
table.examples td.content,table.findings td.content,table.examples td.msg,table.findings td.msg{display:block;min-width:0}
td.content:empty{display:none}
td.line::before{content:"linha "}
td.pos::before{content:"posi\00E7\00E3o "}
td.col::before{content:"coluna "}
td.col:empty{display:none}
}
@media print{
nav{display:none}
body{font-size:11px}
header.verdict{-webkit-print-color-adjust:exact;print-color-adjust:exact}
details.group{break-inside:avoid}
details::details-content{content-visibility:visible;display:block}
details>summary{list-style:none}
.scroll{overflow:visible}
tr{break-inside:avoid}
}
)css";

// Opens every section for printing, where a browser cannot do it from the
// style alone; the page needs no script otherwise.
constexpr std::string_view kPrintScript =
    "<script>addEventListener('beforeprint',function(){"
    "document.querySelectorAll('details').forEach(function(d){d.open=true})})</script>\n";

class Page {
 public:
  Page(const Result& r, const ReportOptions& o, std::string& out)
      : r_(r),
        o_(o),
        out_(out),
        outcome_(outline::OutcomeOf(r)),
        grouping_(outline::GroupFindings(r.findings, o.examples)) {
    for (const outline::Group& g : grouping_.groups) follows_stop_ += g.follows_stop;
  }

  void Write() {
    Head();
    Banner();
    Nav();
    out_ += "<main>\n";
    FileFacts();
    Types();
    Groups();
    AllFindings();
    out_ += "</main>\n<footer>Relatório gerado por volp " VOLP_VERSION_TEXT;
    out_ += "</footer>\n";
    out_ += kPrintScript;
    out_ += "</body>\n</html>\n";
  }

 private:
  void Text(std::string_view utf8) { Escape(out_, utf8); }
  void Latin1(std::string_view latin1) { EscapeLatin1(out_, latin1); }
  // In an attribute value, where no markup may go.
  void Latin1Attribute(std::string_view latin1) { EscapeLatin1(out_, latin1, false); }

  std::string Name() const {
    return outline::NameToUtf8(o_.input_name.empty() ? r_.path : o_.input_name);
  }

  void Head() {
    out_ +=
        "<!DOCTYPE html>\n<html lang=\"pt-BR\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<meta name=\"generator\" content=\"volp " VOLP_VERSION_TEXT "\">\n<title>";
    Text(Headline(outcome_));
    out_ += " \xE2\x80\x94 ";     // an em dash
    Escape(out_, Name(), false);  // a title holds text only
    out_ += "</title>\n<style>";
    out_ += kStyle;
    out_ += "</style>\n</head>\n<body>\n";
  }

  void Banner() {
    out_ += "<header class=\"verdict ";
    out_ += outline::OutcomeName(outcome_);
    out_ += "\" id=\"verdict\" data-outcome=\"";
    out_ += outline::OutcomeName(outcome_);
    out_ += "\"><div>\n<h1>";
    Text(Headline(outcome_));
    out_ += "</h1>\n<p class=\"completeness\">";
    Completeness();
    out_ += "</p>\n<p class=\"tally\"><span><b>";
    AppendCount(out_, r_.errors);
    out_ += "</b> erros</span><span><b>";
    AppendCount(out_, r_.warnings);
    out_ += "</b> advertências</span><span><b>";
    AppendCount(out_, r_.rejected_lines);
    out_ += "</b> linhas rejeitadas</span><span><b>";
    AppendCount(out_, static_cast<int64_t>(grouping_.groups.size()));
    out_ += "</b> tipos de crítica</span></p>\n</div></header>\n";
  }

  void Completeness() {
    if (outcome_ == Outcome::kFailed) {
      out_ += "A validação não pôde ser feita";
      if (!r_.failure.empty()) {
        out_ += ": ";
        Latin1(r_.failure);
      }
      out_ += ".";
      return;
    }
    if (r_.read_whole_file()) {
      out_ += "Arquivo lido por inteiro: ";
      AppendCount(out_, r_.records_read);
      out_ += " linhas, ";
      AppendCount(out_, r_.file_size);
      out_ += " bytes.";
      return;
    }
    out_ += "<b>Leitura interrompida</b> (";
    Text(StopText(r_.stop_reason));
    out_ += ") na linha ";
    AppendCount(out_, r_.last_line);
    out_ += ", com <b>";
    out_ += Percent(outline::PerMilleRead(r_));
    out_ += "</b> dos bytes lidos (";
    AppendCount(out_, r_.bytes_read);
    out_ += " de ";
    AppendCount(out_, r_.file_size);
    out_ += "). O parecer vale só para a parte lida.";
    if (follows_stop_ != 0) {
      out_ += " ";
      AppendCount(out_, follows_stop_);
      out_ +=
          " críticas marcadas <span class=\"stop\">após a parada</span> decorrem dela: a parte "
          "não lida teria o que faltou.";
    }
  }

  void Nav() {
    out_ +=
        "<nav><div><a href=\"#file\">Arquivo</a><a href=\"#types\">Registros por tipo</a>"
        "<a href=\"#groups\">Críticas por código</a><a href=\"#findings\">Todas as críticas</a>"
        "</div></nav>\n";
  }

  void Fact(std::string_view label, const std::string& utf8) {
    out_ += "<dt>";
    Text(label);
    out_ += "</dt><dd>";
    Text(utf8);
    out_ += "</dd>\n";
  }

  void FileFacts() {
    out_ += "<section id=\"file\">\n<h2>Arquivo</h2>\n<dl class=\"facts\">\n<dt>Nome</dt><dd>";
    Text(Name());
    out_ += "</dd>\n";
    Fact("Tamanho", Count(r_.file_size) + " bytes");
    Fact("Linhas lidas", Count(r_.records_read));
    if (r_.sha256.empty()) {
      out_ +=
          "<dt>SHA-256</dt><dd class=\"note\">não calculado: o arquivo não foi lido até o "
          "fim</dd>\n";
    } else {
      out_ += "<dt>SHA-256</dt><dd class=\"mono\">";
      Latin1(r_.sha256);
      out_ += "</dd>\n";
    }
    if (o_.decompressed)
      Fact("Compactação", "arquivo gzip: tamanho, linhas e SHA-256 são do conteúdo descompactado");
    const std::string& d = r_.validation_date;
    Fact("Dia da validação", outline::IsoDate(d).empty()
                                 ? d
                                 : d.substr(6, 2) + "/" + d.substr(4, 2) + "/" + d.substr(0, 4));
    std::string elapsed = Duration(r_.elapsed_seconds);
    if (r_.elapsed_seconds > 0.001 && r_.records_read > 0)
      elapsed +=
          " (" +
          Count(static_cast<int64_t>(static_cast<double>(r_.records_read) / r_.elapsed_seconds)) +
          " linhas/s)";
    Fact("Duração", elapsed);
    const std::string xml = outline::XmlVerdict(r_);
    if (!xml.empty()) Fact("Parecer no relatório XML", xml);
    out_ += "</dl>\n</section>\n";
  }

  void Types() {
    out_ +=
        "<section id=\"types\">\n<h2>Registros por tipo</h2>\n<div class=\"scroll\">"
        "<table class=\"types\">\n<thead><tr><th>Tipo</th><th class=\"n\">Total</th>"
        "<th class=\"n\">Rejeitados</th><th class=\"n\">Advertências</th>"
        "<th class=\"n\">Erros</th></tr></thead>\n<tbody>\n";
    for (const TypeSummary& t : r_.types) {
      out_ += t.total == 0 && t.errors == 0 && t.warnings == 0 ? "<tr class=\"zero\">" : "<tr>";
      out_ += "<td><code>";
      Latin1(t.code);
      out_ += "</code></td>";
      for (int64_t v : {t.total, t.rejected, t.warnings, t.errors}) {
        out_ += "<td class=\"n\">";
        AppendCount(out_, v);
        out_ += "</td>";
      }
      out_ += "</tr>\n";
    }
    out_ += "</tbody>\n</table></div>\n</section>\n";
  }

  // "TR 0005 · campo 09 EMAIL"
  void Where(const Finding& f) {
    if (!f.record_type.empty()) {
      out_ += "TR ";
      Latin1(f.record_type);
    } else {
      out_ += "arquivo";
    }
    if (f.field_number != 0) {
      out_ += " \xC2\xB7 campo ";
      if (f.field_number < 10) out_.push_back('0');
      AppendInt(out_, f.field_number);
      if (!f.field_name.empty()) {
        out_ += " ";
        Latin1(f.field_name);
      }
    }
  }

  void LineLink(int64_t line) {
    out_ += "<a href=\"#l";
    AppendInt(out_, line);
    out_ += "\">";
    AppendCount(out_, line);
    out_ += "</a>";
  }

  void Groups() {
    out_ += "<section id=\"groups\">\n<h2>Críticas por código (";
    AppendCount(out_, static_cast<int64_t>(grouping_.groups.size()));
    out_ += ")</h2>\n";
    if (grouping_.groups.empty()) out_ += "<p class=\"note\">Nenhuma crítica.</p>\n";
    for (size_t gi = 0; gi < grouping_.groups.size(); ++gi) {
      const outline::Group& g = grouping_.groups[gi];
      const Finding& f = r_.findings[g.first];
      out_ += "<details class=\"group\" id=\"g";
      AppendInt(out_, static_cast<int64_t>(gi + 1));
      out_ += "\" data-code=\"";
      Latin1Attribute(f.code);
      out_ += "\" data-count=\"";
      AppendInt(out_, g.count);
      out_ += "\"><summary><span class=\"sev ";
      out_ += SeverityClass(f.severity);
      out_ += "\">";
      Text(outline::SeverityWord(f.severity));
      out_ += "</span> <span class=\"count\">";
      AppendCount(out_, g.count);
      out_ += "\xC3\x97</span> <code>";  // "×"
      if (f.code.empty())
        out_ += "(sem código)";
      else
        Latin1(f.code);
      out_ += "</code> <span class=\"where\">";
      Where(f);
      out_ += "</span></summary>\n<div class=\"body\">\n";
      const std::string_view tmpl = MessageTemplate(f.code);
      if (!tmpl.empty()) {
        out_ += "<p class=\"template\">Mensagem: ";
        Latin1(tmpl);
        out_ += "</p>\n";
      }
      if (g.follows_stop != 0) {
        out_ += "<p class=\"note\">";
        AppendCount(out_, g.follows_stop);
        out_ += " destas críticas vêm <span class=\"stop\">após a parada</span>.</p>\n";
      }
      Examples(g);
      if (g.count > static_cast<int64_t>(g.examples.size())) {
        out_ += "<p class=\"more\">Mais ";
        AppendCount(out_, g.count - static_cast<int64_t>(g.examples.size()));
        out_ += " na <a href=\"#findings\">lista completa</a>.</p>\n";
      }
      out_ += "</div></details>\n";
    }
    out_ += "</section>\n";
  }

  void Examples(const outline::Group& g) {
    if (g.examples.empty()) return;
    out_ +=
        "<div class=\"scroll\"><table class=\"examples\">\n<thead><tr><th class=\"n\">Linha</th>"
        "<th class=\"n\">Posição</th><th class=\"n\">Coluna</th><th>Conteúdo</th>"
        "<th>Mensagem</th></tr></thead>\n<tbody>\n";
    for (size_t i : g.examples) {
      const Finding& e = r_.findings[i];
      out_ += e.follows_stop ? "<tr class=\"follows\">" : "<tr>";
      out_ += "<td class=\"n line\">";
      LineLink(e.line);
      out_ += "</td><td class=\"n pos\">";
      AppendCount(out_, e.offset);
      out_ += "</td><td class=\"n col\">";
      if (e.column >= 0) AppendInt(out_, e.column);
      out_ += "</td><td class=\"content\">";
      Latin1(e.content);
      out_ += "</td><td class=\"msg\">";
      Latin1(e.message);
      if (e.follows_stop) out_ += " <span class=\"stop\">após a parada</span>";
      out_ += "</td></tr>\n";
    }
    out_ += "</tbody>\n</table></div>\n";
  }

  void AllFindings() {
    out_ += "<section id=\"findings\">\n<h2>Todas as críticas (";
    AppendCount(out_, static_cast<int64_t>(r_.findings.size()));
    out_ += ")</h2>\n";
    int64_t kept_warnings = 0;
    for (const Finding& f : r_.findings) kept_warnings += f.severity == 1 ? 1 : 0;
    if (r_.warnings > kept_warnings) {
      out_ += "<p class=\"note\">Só as primeiras advertências são guardadas: ";
      AppendCount(out_, r_.warnings);
      out_ += " contadas, ";
      AppendCount(out_, kept_warnings);
      out_ += " listadas.</p>\n";
    }
    if (r_.findings.empty()) {
      out_ += "<p class=\"note\">Nenhuma crítica.</p>\n</section>\n";
      return;
    }
    out_ +=
        "<div class=\"scroll\"><table class=\"findings\">\n<thead><tr><th class=\"n\">Linha</th>"
        "<th>Onde</th><th>Conteúdo</th><th>Mensagem</th><th>Tipo</th><th>Código</th></tr>"
        "</thead>\n<tbody>\n";
    int64_t previous_line = -1;
    for (size_t i = 0; i < r_.findings.size(); ++i) {
      const Finding& f = r_.findings[i];
      out_ += "<tr";
      // The anchor of a line sits on its first finding (the list is by line).
      if (f.line != previous_line) {
        out_ += " id=\"l";
        AppendInt(out_, f.line);
        out_ += "\"";
        previous_line = f.line;
      }
      if (f.follows_stop) out_ += " class=\"follows\"";
      out_ += " data-group=\"g";
      AppendInt(out_, static_cast<int64_t>(grouping_.group_of[i] + 1));
      out_ += "\"><td class=\"n line\">";
      AppendCount(out_, f.line);
      out_ += "</td><td class=\"where\">";
      Where(f);
      out_ += "</td><td class=\"content\">";
      Latin1(f.content);
      out_ += "</td><td class=\"msg\">";
      Latin1(f.message);
      if (f.follows_stop) out_ += " <span class=\"stop\">após a parada</span>";
      out_ += "</td><td><span class=\"sev ";
      out_ += SeverityClass(f.severity);
      out_ += "\">";
      Text(outline::SeverityWord(f.severity));
      out_ += "</span></td><td class=\"code\"><code>";
      Latin1(f.code);
      out_ += "</code></td></tr>\n";
    }
    out_ += "</tbody>\n</table></div>\n</section>\n";
  }

  const Result& r_;
  const ReportOptions& o_;
  std::string& out_;
  Outcome outcome_;
  outline::Grouping grouping_;
  int64_t follows_stop_ = 0;
};

}  // namespace

std::string HtmlReport(const Result& r, const ReportOptions& options) {
  std::string out;
  // About 400 bytes per finding in the full list, the page's frame besides.
  out.reserve(kStyle.size() + 8192 + 420 * r.findings.size());
  Page(r, options, out).Write();
  return out;
}

}  // namespace volp
