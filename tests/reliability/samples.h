// Sample databases that are replaced while something goes wrong: old or new, never neither.
#pragma once

#include <filesystem>
#include <string>

#include "books.h"

namespace ledgerwick::reliability {

// Makes the sample database `which`, 0 or 1, in place of what is at `path`, if anything. Tells of a
// failure, and counts in `replaced`.
void MakeSample(const std::filesystem::path& path, int which, Shared& shared);

// "" if the database at `path` is one of the two samples as a whole.
std::string CheckSample(const std::filesystem::path& path);

// Replaces it once more, as the next user does, and looks for what earlier ones left beside it. ""
// when it succeeds and nothing is left.
std::string ReplaceAgain(const std::filesystem::path& path);

}  // namespace ledgerwick::reliability
