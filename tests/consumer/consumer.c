/* A C program using the installed library: it prints the library's version
 * and validates the file it is given with ValidadorVOLP, which reads the
 * municipality table from the current directory. Exit status 0 when the run
 * was done (ValidadorVOLP returned 1). */
#include <stdio.h>
#include <volp/volp.h>

int main(int argc, char** argv) {
  char version[64];
  int done;
  if (argc != 2) {
    fprintf(stderr, "usage: consumer_c FILE\n");
    return 2;
  }
  if (ObterVersao(version, (int)sizeof version) <= 0) {
    fprintf(stderr, "consumer_c: ObterVersao failed\n");
    return 1;
  }
  printf("version %s\n", version);
  done = ValidadorVOLP(argv[1], "0", argv[1], "0");
  printf("ValidadorVOLP %d\n", done);
  return done == 1 ? 0 : 1;
}
