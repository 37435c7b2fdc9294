#include "Sync/Host/Command/Program.h"

int main(int argumentCount, char** arguments) { return kt::runProgram(argumentCount, arguments); }
