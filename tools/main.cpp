// Placeholder until the command line arrives.
#include <cstdio>

int main() {
  std::puts("volp");
  return 0;
}
