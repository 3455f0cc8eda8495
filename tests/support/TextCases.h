#pragma once

// Expected outputs kept as text beside the suites: whole golden files, and case files that hold
// a table-driven test's rows. Setting BRELK_UPDATE_GOLDEN rewrites both from what the code does,
// so a deliberate change of output is one run and a diff to review, not hand edits.

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Testing {

inline bool UpdatingGoldenFiles() { return std::getenv("BRELK_UPDATE_GOLDEN") != nullptr; }

inline void ExpectGoldenText(const std::filesystem::path& golden, std::string_view actual) {
    if (UpdatingGoldenFiles()) WriteText(golden, actual);
    EXPECT_EQ(actual, ReadText(golden)) << "golden file " << golden.filename().string();
}

// One row of a case file:
//
//   === <title>
//   <input lines, each with its line end>
//   ---
//   <expected outcome, without its last line end>
//
// Text before the first case is a comment; blank lines that end an outcome part cases.
struct TextCase {
    std::string title;
    std::string input;
    std::string expected;
    int line = 0; // of the "===" line, for failure messages
};

inline std::vector<TextCase> ReadTextCases(const std::filesystem::path& path, std::string* preamble = nullptr) {
    const std::string text = ReadText(path);
    std::vector<TextCase> cases;
    std::string* part = preamble;
    std::size_t start = 0;
    for (int number = 1; start < text.size(); ++number) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string_view line(text.data() + start, end - start);
        start = end + 1;
        if (line.starts_with("=== ") || line == "===") {
            cases.push_back(TextCase{std::string(line.substr(std::min<std::size_t>(4, line.size()))), {}, {}, number});
            part = &cases.back().input;
        } else if (line == "---" && !cases.empty() && part == &cases.back().input) {
            part = &cases.back().expected;
        } else if (part) {
            part->append(line).push_back('\n');
        }
    }
    for (TextCase& c : cases) {
        while (!c.expected.empty() && c.expected.back() == '\n') c.expected.pop_back();
    }
    return cases;
}

// Expects `outcome` of every case's input to be its expected text (trailing line ends aside).
inline void ExpectTextCases(const std::filesystem::path& path,
                            const std::function<std::string(const TextCase&)>& outcome) {
    std::string preamble;
    std::vector<TextCase> cases = ReadTextCases(path, &preamble);
    ASSERT_FALSE(cases.empty()) << "no cases in " << path.string();
    std::string updated = preamble;
    for (TextCase& c : cases) {
        std::string actual = outcome(c);
        while (!actual.empty() && actual.back() == '\n') actual.pop_back();
        if (actual != c.expected && !UpdatingGoldenFiles()) {
            ADD_FAILURE_AT(path.c_str(), c.line)
                << c.title << "\n  expected: " << c.expected << "\n    actual: " << actual;
        }
        updated += (c.title.empty() ? "===" : "=== " + c.title) + "\n" + c.input + "---\n" + actual + "\n\n";
    }
    if (UpdatingGoldenFiles()) {
        updated.pop_back();
        WriteText(path, updated);
    }
}

} // namespace Brelk::Testing
