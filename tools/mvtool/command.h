// The frame for sub-commands: what a command says of itself and what it gets.
//
// A family is one source file that defines its commands and a function returning the Family; families.cpp
// lists them. Help texts, option parsing and the check of the number of operands come from the declarations.
#pragma once

#include "failure.h"
#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mvtool {

struct OptionSpec {
    const char* name;  ///< without the two hyphens
    char letter;       ///< one-letter form, or 0
    const char* value; ///< what the help calls its value; null for an option without one
    const char* help;
};

/// A command's words after parsing: what was given, the operands in their order.
class Arguments {
public:
    bool has(const std::string& option) const { return m_options.count(option) != 0; }
    /// The last value given to the option; nothing when it was not given.
    std::optional<std::string> value(const std::string& option) const;
    const std::vector<std::string>& operands() const { return m_operands; }

private:
    friend Arguments parseArguments(const struct Command&, std::span<const std::string>);
    std::map<std::string, std::string> m_options;
    std::vector<std::string> m_operands;
};

struct Command {
    const char* name;
    const char* operands; ///< for the usage line, such as "DIR"
    const char* summary;  ///< one line without a full stop
    const char* details;  ///< paragraphs for the command's own help
    std::size_t minOperands;
    std::size_t maxOperands;
    std::span<const OptionSpec> options; ///< --help is every command's own
    Exit (*run)(const Arguments& arguments);
};

/// A family of one command without a name is that command: "mvtool NAME OPERAND...".
struct Family {
    const char* name;
    const char* summary;
    const char* details;
    std::span<const Command> commands;
};

/// Every family, in the order of the help.
std::span<const Family* const> families();

/// Options stand before, between or behind the operands; "--" ends them. Failure(usage) for what the command
/// does not know, a missing or superfluous value, and a wrong number of operands (not checked when --help is
/// given).
Arguments parseArguments(const Command& command, std::span<const std::string> words);

std::string generalHelp();
std::string familyHelp(const Family& family);
std::string commandHelp(const Family& family, const Command& command);

/// Finds the command, runs it and answers its exit code. Throws what the command throws.
Exit runTool(std::span<const std::string> words);

} // namespace mvtool
