// Stands in for the transmitter in the tests: only its version resource counts.
int main() { return 0; }
