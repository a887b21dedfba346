// The crash note: one small file that always holds only the last event that no handler understood.
#pragma once

#include <string>

namespace ferrow {

// Name of the note's file; empty (the state before this call) makes writeDump do nothing.
void setDumpFile(std::string path);

// Overwrites the note with `where`, one blank and `what`. Any thread; never throws.
void writeDump(const char* where, const char* what) noexcept;

} // namespace ferrow
