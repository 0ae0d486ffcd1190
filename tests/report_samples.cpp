// Writes the JSON report and the HTML page of every sample run into the
// directory given, as <name>.json and <name>.html, for the checks under
// tests/scripts/ (the JSON Schema, the page's structure against the JSON of
// the same run) and for a person to open. Exit status 0 when all were written.
#include <cstdio>
#include <string>

#include "report_runs.hpp"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s DIR\n", argv[0]);
    return 2;
  }
  const std::string dir = argv[1];
  int status = 0;
  for (const volp::test::ReportRun& run : volp::test::SampleRuns()) {
    for (const bool json : {true, false}) {
      const std::string path = dir + "/" + run.name + (json ? ".json" : ".html");
      const std::string bytes = json ? volp::JsonReport(run.result, run.options)
                                     : volp::HtmlReport(run.result, run.options);
      std::string error;
      if (!volp::WriteFileAtomically(path, bytes, &error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        status = 1;
      } else {
        std::printf("%s\n", path.c_str());
      }
    }
  }
  return status;
}
