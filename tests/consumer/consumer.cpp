// A C++ program using the installed library: validates the file it is given
// with volp::Validate and no tables directory, so the library looks for the
// municipality table itself (the current directory, then its own installed
// tree). Prints the verdict and the table used; exit status 0 when the run
// was done and read the whole file.
#include <cstdio>
#include <volp/validator.hpp>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: consumer_cpp FILE\n");
    return 2;
  }
  const volp::Result r = volp::Validate(argv[1]);
  if (!r.completed) {
    std::fprintf(stderr, "consumer_cpp: not done: %s\n", r.failure.c_str());
    return 1;
  }
  std::printf("tables %s\n", r.tables_path.c_str());
  std::printf("report %s\n", r.report_path.c_str());
  std::printf("records %lld errors %lld warnings %lld %s\n", static_cast<long long>(r.records_read),
              static_cast<long long>(r.errors), static_cast<long long>(r.warnings),
              volp::StopReasonName(r.stop_reason));
  return r.read_whole_file() ? 0 : 1;
}
