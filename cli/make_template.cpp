// Writes the template header the program ships with (see DefaultTemplate.cpp).

#include <fstream>
#include <iostream>

#include "abf/TemplateFile.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: convora-make-template OUTPUT\n";
    return 2;
  }
  const auto header = convora::BuildDefaultTemplate();
  std::ofstream out(argv[1], std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(header.Bytes().data()),
            static_cast<std::streamsize>(header.Bytes().size()));
  out.close();
  if (!out) {
    std::cerr << "cannot write " << argv[1] << '\n';
    return 1;
  }
  return 0;
}
