#include <iostream>
#include <string>
#include <vector>

#include "cli/command_line.h"

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  return ledgerwick::Main(std::vector<std::string>(argv + 1, argv + argc), std::cin, std::cout,
                          std::cerr);
}
