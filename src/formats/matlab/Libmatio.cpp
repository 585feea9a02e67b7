#include "formats/matlab/Libmatio.h"

#include <dlfcn.h>

#include <string>
#include <type_traits>

#include "abf/ConvoraError.h"

// The library's name as the linker would have recorded it, from the build.
#ifndef CONVORA_LIBMATIO
#error "CONVORA_LIBMATIO names the libmatio to load"
#endif

namespace convora {
namespace {

std::string LoaderError() {
  const char* const error = dlerror();
  return error != nullptr ? error : "no reason given";
}

LibmatioCalls Load() {
  // Kept loaded until the program ends: its variables may be in use.
  void* const library = dlopen(CONVORA_LIBMATIO, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    throw ConvoraError("cannot load " CONVORA_LIBMATIO ", which reads MAT-files (" + LoaderError() +
                       "): install libmatio");
  }
  const auto find = [&](auto& call, const char* name) {
    void* const symbol = dlsym(library, name);
    if (symbol == nullptr) {
      throw ConvoraError(std::string(CONVORA_LIBMATIO " has no ") + name + " (" + LoaderError() + ")");
    }
    call = reinterpret_cast<std::remove_reference_t<decltype(call)>>(symbol);
  };
  LibmatioCalls calls{};
  find(calls.Open, "Mat_Open");
  find(calls.Close, "Mat_Close");
  find(calls.GetVersion, "Mat_GetVersion");
  find(calls.LogInitFunc, "Mat_LogInitFunc");
  find(calls.SizeOfClass, "Mat_SizeOfClass");
  find(calls.VarFree, "Mat_VarFree");
  find(calls.VarGetStructFieldByName, "Mat_VarGetStructFieldByName");
  find(calls.VarReadData, "Mat_VarReadData");
  find(calls.VarReadDataLinear, "Mat_VarReadDataLinear");
  find(calls.VarReadNextInfo, "Mat_VarReadNextInfo");
  return calls;
}

}  // namespace

const LibmatioCalls& Libmatio() {
  static const LibmatioCalls calls = Load();
  return calls;
}

}  // namespace convora
