#include "station/run.h"

int main(int argc, char** argv) { return station::run(argc, argv); }
