// A shared object that only takes its place among the process's loaded
// objects; copies of it make the process crowded.

extern "C" __attribute__((visibility("default"))) int BallastValue() { return 1; }
