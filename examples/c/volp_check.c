/* Validates a declaration file through volp's C interface and prints the
 * verdict, how far the run read and every finding.
 *
 *   volp_check FILE [TABLES_DIR [AAAAMMDD]]
 *
 * Exit status: 0 no errors, 1 errors, 2 the run could not be done or was
 * cancelled. Plain C89: it builds with any C compiler. */
#include <stdio.h>

#include "volp/volp_api.h"

int main(int argc, char** argv) {
  volp_options* options;
  volp_result* result = NULL;
  int status;
  int exit_status;
  int64_t i;

  if (argc < 2) {
    fprintf(stderr, "usage: %s FILE [TABLES_DIR [AAAAMMDD]]\n", argv[0]);
    return 2;
  }
  options = volp_options_new();
  if (options == NULL) return 2;
  if ((argc > 2 && volp_options_set_tables_dir(options, argv[2]) != VOLP_OK) ||
      (argc > 3 && volp_options_set_today(options, argv[3]) != VOLP_OK)) {
    fprintf(stderr, "invalid option\n");
    volp_options_free(options);
    return 2;
  }

  status = volp_validate(argv[1], options, &result);
  volp_options_free(options); /* the result does not need the options */
  if (status != VOLP_OK) {
    /* VOLP_E_FAILED gives a result that says why; other statuses none. */
    fprintf(stderr, "%s: %s: %s\n", argv[1], volp_status_name(status),
            result ? volp_result_failure(result) : "");
    volp_result_free(result);
    return 2;
  }

  printf("%s: %s, %s (%s)\n", argv[1], volp_result_valid(result) ? "valid" : "invalid",
         volp_result_read_whole_file(result) ? "whole file read" : "NOT read to its end",
         volp_stop_reason_name(volp_result_stop_reason(result)));
  printf("errors %ld, warnings %ld, records %ld, report %s\n", (long)volp_result_errors(result),
         (long)volp_result_warnings(result), (long)volp_result_records_read(result),
         volp_result_report_path(result));
  for (i = 0; i < volp_result_finding_count(result); ++i)
    printf("  line %ld  %s  %s\n", (long)volp_result_finding_line(result, i),
           volp_result_finding_code(result, i), volp_result_finding_message(result, i));

  if (volp_result_stop_reason(result) == VOLP_STOP_CANCELLED)
    exit_status = 2;
  else
    exit_status = volp_result_errors(result) > 0 ? 1 : 0;
  volp_result_free(result);
  return exit_status;
}
