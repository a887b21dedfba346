// The files of the web page, as they were when the program was built.
#pragma once

#include <span>
#include <string_view>

namespace ferrow::serve {

struct PageFile {
    std::string_view path; // "/index.html"
    std::string_view type; // of the content
    std::string_view content;
};

// Made by the build; one page that says what is missing where it had no npm.
std::span<const PageFile> pageFiles();

// "/" is "/index.html". Null if there is no such file.
const PageFile* findPageFile(std::string_view path);

} // namespace ferrow::serve
