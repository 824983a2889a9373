#include "command.h"

#include "console.h"
#include "text.h"
#include <algorithm>

namespace mvtool {
namespace {

constexpr OptionSpec kHelp = {"help", 'h', nullptr, "show this help and do nothing else"};

const OptionSpec* findOption(const Command& command, std::string_view name, char letter) {
    const auto matches = [&](const OptionSpec& option) {
        return letter != 0 ? option.letter == letter : name == option.name;
    };
    if (matches(kHelp)) {
        return &kHelp;
    }
    const auto found = std::find_if(command.options.begin(), command.options.end(), matches);
    return found == command.options.end() ? nullptr : &*found;
}

Failure usage(const std::string& text) {
    return Failure(Exit::usage, text);
}

/// Two columns: what is typed, and what it means.
std::string table(const std::vector<std::pair<std::string, std::string>>& rows) {
    std::size_t width = 0;
    for (const auto& row : rows) {
        width = std::max(width, row.first.size());
    }
    std::string text;
    for (const auto& [left, right] : rows) {
        text.append("  ").append(left).append(width - left.size() + 2, ' ').append(right).append("\n");
    }
    return text;
}

const char* const kExitCodes =
    "Exit codes: 0 done, 1 no (a check failed), 2 usage, 3 not found, 4 damaged input,\n"
    "5 cancelled, 6 write failure, 7 internal failure.\n";

} // namespace

std::optional<std::string> Arguments::value(const std::string& option) const {
    const auto found = m_options.find(option);
    return found == m_options.end() ? std::nullopt : std::optional(found->second);
}

Arguments parseArguments(const Command& command, std::span<const std::string> words) {
    Arguments result;
    bool onlyOperands = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        const auto take = [&](const OptionSpec& option, std::optional<std::string> attached) {
            if (option.value == nullptr) {
                if (attached) {
                    throw usage(std::string("--") + option.name + " takes no value");
                }
                result.m_options[option.name];
                return;
            }
            if (!attached) {
                if (i + 1 == words.size()) {
                    throw usage(displayText(word) + " needs a value (" + option.value + ")");
                }
                attached = words[++i];
            }
            result.m_options[option.name] = *attached;
        };
        if (onlyOperands || word.size() < 2 || word[0] != '-') {
            result.m_operands.push_back(word);
        } else if (word == "--") {
            onlyOperands = true;
        } else if (word[1] == '-') {
            const std::size_t equals = word.find('=');
            const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
            const OptionSpec* option = findOption(command, name, 0);
            if (option == nullptr) {
                throw usage("unknown option --" + displayText(name));
            }
            take(*option,
                 equals == std::string::npos ? std::nullopt : std::optional(word.substr(equals + 1)));
        } else {
            for (std::size_t at = 1; at < word.size(); ++at) {
                const OptionSpec* option = findOption(command, {}, word[at]);
                if (option == nullptr) {
                    throw usage("unknown option -" + displayText(word.substr(at)));
                }
                if (option->value != nullptr) {
                    take(*option, at + 1 < word.size() ? std::optional(word.substr(at + 1)) : std::nullopt);
                    break;
                }
                take(*option, std::nullopt);
            }
        }
    }
    if (!result.has("help")) {
        if (result.m_operands.size() < command.minOperands) {
            throw usage(std::string("missing operand: ") + command.operands);
        }
        if (result.m_operands.size() > command.maxOperands) {
            throw usage("one operand too many: " + displayText(result.m_operands[command.maxOperands]));
        }
    }
    return result;
}

std::string generalHelp() {
    std::vector<std::pair<std::string, std::string>> rows;
    for (const Family* family : families()) {
        rows.emplace_back(family->name, family->summary);
    }
    return "mvtool works on the files of the mvlib62 library.\n"
           "\n"
           "Usage: mvtool FAMILY COMMAND [OPTION]... [OPERAND]...\n"
           "\n"
           "Families:\n" +
           table(rows) +
           "\n"
           "  mvtool FAMILY --help          the commands of a family\n"
           "  mvtool FAMILY COMMAND --help  one command and its options\n"
           "  mvtool --version              the version\n"
           "\n" +
           kExitCodes;
}

std::string familyHelp(const Family& family) {
    std::vector<std::pair<std::string, std::string>> rows;
    for (const Command& command : family.commands) {
        rows.emplace_back(std::string(command.name) + ' ' + command.operands, command.summary);
    }
    const std::string name = family.name;
    return "mvtool " + name + ": " + family.summary + ".\n\nUsage: mvtool " + name +
           " COMMAND [OPTION]... [OPERAND]...\n\nCommands:\n" + table(rows) + (*family.details ? "\n" : "") +
           family.details + "\nSee 'mvtool " + name + " COMMAND --help' for the options of a command.\n" +
           kExitCodes;
}

std::string commandHelp(const Family& family, const Command& command) {
    std::vector<std::pair<std::string, std::string>> rows;
    const auto add = [&](const OptionSpec& option) {
        std::string left =
            option.letter != 0 ? std::string("-") + option.letter + ", --" : std::string("    --");
        left += option.name;
        if (option.value != nullptr) {
            left += std::string("=") + option.value;
        }
        rows.emplace_back(left, option.help);
    };
    for (const OptionSpec& option : command.options) {
        add(option);
    }
    add(kHelp);
    std::string line = std::string("Usage: mvtool ") + family.name;
    for (const char* part : {command.name, command.operands}) {
        line += *part != 0 ? std::string(" ") + part : std::string();
    }
    return line + " [OPTION]...\n\n" + command.summary + ".\n" + (*command.details ? "\n" : "") +
           command.details + "\nOptions:\n" + table(rows) + '\n' + kExitCodes;
}

Exit runTool(std::span<const std::string> words) {
    const auto isHelp = [](const std::string& word) {
        return word == "--help" || word == "-h" || word == "help";
    };
    if (words.empty()) {
        throw usage("no command given");
    }
    if (isHelp(words[0])) {
        console().print(generalHelp());
        return Exit::done;
    }
    if (words[0] == "--version") {
        console().print("mvtool " MVTOOL_VERSION "\n");
        return Exit::done;
    }
    for (const Family* family : families()) {
        if (words[0] != family->name) {
            continue;
        }
        const auto run = [&](const Command& command, std::span<const std::string> rest) {
            const Arguments arguments = parseArguments(command, rest);
            if (arguments.has("help")) {
                console().print(commandHelp(*family, command));
                return Exit::done;
            }
            return command.run(arguments);
        };
        if (family->commands.front().name[0] == 0) {
            return run(family->commands.front(), words.subspan(1));
        }
        if (words.size() == 1) {
            throw usage(std::string("no command given for ") + family->name);
        }
        if (isHelp(words[1])) {
            console().print(familyHelp(*family));
            return Exit::done;
        }
        for (const Command& command : family->commands) {
            if (words[1] != command.name) {
                continue;
            }
            return run(command, words.subspan(2));
        }
        throw usage(std::string("unknown command: ") + family->name + ' ' + displayText(words[1]));
    }
    throw usage((words[0].starts_with('-') ? "unknown option " : "unknown family: ") + displayText(words[0]));
}

} // namespace mvtool
