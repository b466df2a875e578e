/// @file
/// What every verb's command line has in common.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tools/vektrace/program/Session.h"

namespace vek::program {

/// The group of the options that all verbs have.
inline constexpr char COMMON_GROUP[] = "Common options";

/// Adds a verb with the options that all verbs have. `summary` is one line without a full stop;
/// CLI::App::footer takes the paragraphs for help and man page. When the verb is chosen the
/// session's work is `work`.
CLI::App& addVerb(CLI::App& program, Session& session, const std::string& name,
                  const std::string& summary, std::function<void()> work);

/// The options that all verbs have, for the program itself: they may stand before the verb too.
void addCommonOptions(CLI::App& app, Session& session);

/// An option whose value is one of a few words; `value` holds the default.
template <class Value>
CLI::Option* addChoice(CLI::App& app, const std::string& name, Value& value,
                       const std::vector<std::pair<std::string, Value>>& choices,
                       const std::string& description) {
    std::vector<std::string> words;
    std::string type;
    std::string defaultWord;
    for (const auto& [word, meaning] : choices) {
        words.push_back(word);
        type += (type.empty() ? "" : "|") + word;
        defaultWord = meaning == value ? word : defaultWord;
    }
    const auto choose = [&value, choices](const std::string& word) {
        for (const auto& choice : choices) {
            value = choice.first == word ? choice.second : value;
        }
    };
    return app.add_option_function<std::string>(name, choose, description)
        ->check(CLI::IsMember(words).description(""))
        ->type_name(type)
        ->default_str(defaultWord);
}

/// An option whose value `take` reads; what it throws as UsageError is told with the option's name.
CLI::Option* addParsed(CLI::App& app, const std::string& name, const std::string& type,
                       const std::string& description,
                       const std::function<void(const std::string&)>& take);

/// An option that may be given several times, with one value each time.
CLI::Option* addList(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                     const std::string& type, const std::string& description);

}  // namespace vek::program
