// The led and button commands' tables, for the shell completion and the parser's fuzz target.
#pragma once

#include <string>
#include <vector>

namespace orva::tool {

// The verbs FACE takes: its own, then those every face has.
std::vector<std::string> ledVerbs(const std::string& face);
// Reads and checks the words after "led" as the command does, touching nothing; throws UsageError.
void checkLedWords(const std::vector<std::string>& words);
// Candidates for the last of `words` (the words after "led"; the last one is being typed): faces,
// verbs, values, "then".
std::vector<std::string> completeLed(const std::vector<std::string>& words);
// The same for the words after "button".
std::vector<std::string> completeButton(const std::vector<std::string>& words);
// The names the button command takes.
std::vector<std::string> buttonNames();

}  // namespace orva::tool
