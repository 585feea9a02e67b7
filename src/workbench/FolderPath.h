#pragma once
// How a browser entry becomes the path of the file to process.

#include <filesystem>
#include <string_view>

namespace convora {

// `folder` + separator + `name`, without a second separator when the folder
// already ends in one, as a root does ("/", "C:\"). An empty folder gives the
// name alone.
std::filesystem::path JoinFolderAndName(std::string_view folder, std::string_view name);

}  // namespace convora
