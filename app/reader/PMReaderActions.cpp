#include "PMReaderActions.h"

#include "PMReaderWindow.h"

#include <functional>
#include <iostream>
#include <limits>

namespace {

enum class Outcome { Next, Stop, Failed };

// Where the actions being played print.
PMReaderActionOutput printed;

struct ActionKind {
    const char* name;
    // What is wrong with the argument, or nothing.
    std::optional<std::string> (*check)(const nlohmann::ordered_json& argument);
    std::function<Outcome(PMReaderWindow&, const PMReaderAction&, KCError*)> play;
    // What is wrong with the other members, or nothing; none allowed without it.
    std::optional<std::string> (*checkOptions)(const nlohmann::ordered_json& options) = nullptr;
};

std::optional<std::string> wholeNumberFromZero(const nlohmann::ordered_json& argument)
{
    if (argument.is_number_unsigned() || (argument.is_number_integer() && argument.get<int64_t>() >= 0))
        return std::nullopt;
    return "needs a spine index, a whole number from 0";
}

std::optional<std::string> pageCount(const nlohmann::ordered_json& argument)
{
    constexpr int64_t most = std::numeric_limits<int>::max();
    // JSON keeps numbers from 0 as unsigned ones.
    const bool fits = argument.is_number_unsigned() ? argument.get<uint64_t>() <= static_cast<uint64_t>(most)
        : argument.is_number_integer()              ? argument.get<int64_t>() >= -most && argument.get<int64_t>() <= most
                                                    : false;
    if (fits)
        return std::nullopt;
    return "needs a whole number of pages";
}

bool isText(const nlohmann::ordered_json& argument)
{
    return argument.is_string() && !argument.get<std::string>().empty();
}

std::optional<std::string> fileName(const nlohmann::ordered_json& argument)
{
    return isText(argument) ? std::nullopt : std::optional<std::string>("needs a file name");
}

std::optional<std::string> searchText(const nlohmann::ordered_json& argument)
{
    return isText(argument) ? std::nullopt : std::optional<std::string>("needs the text to search for");
}

std::optional<std::string> anything(const nlohmann::ordered_json&)
{
    return std::nullopt;
}

std::optional<std::string> text(const nlohmann::ordered_json& argument)
{
    return isText(argument) ? std::nullopt : std::optional<std::string>("needs the text to highlight");
}

std::optional<std::string> shareMenu(const nlohmann::ordered_json& argument)
{
    return argument == "menu" ? std::nullopt : std::optional<std::string>("needs \u201Cmenu\u201D");
}

std::optional<std::string> trueOrFalse(const nlohmann::ordered_json& argument)
{
    return argument.is_boolean() ? std::nullopt : std::optional<std::string>("needs true or false");
}

std::optional<std::string> highlightOptions(const nlohmann::ordered_json& options)
{
    for (const auto& [name, value] : options.items()) {
        const bool fits = name == "style" ? value.is_number_integer() && value.get<int64_t>() >= 1 && value.get<int64_t>() <= 5
            : name == "underline"         ? value.is_boolean()
            : name == "note"              ? value.is_string()
                                          : false;
        if (!fits)
            return "\u201C" + name + "\u201D is not a style from 1 to 5, an underline flag or a note";
    }
    return std::nullopt;
}

PMHighlightStyle highlightStyle(const nlohmann::ordered_json& options)
{
    PMHighlightStyle style;
    style.style = options.value("style", style.style);
    style.underline = options.value("underline", false);
    if (options.contains("note"))
        style.note = options["note"].get<std::string>();
    return style;
}

Outcome outcome(bool succeeded)
{
    return succeeded ? Outcome::Next : Outcome::Failed;
}

const std::vector<ActionKind>& actionKinds()
{
    static const std::vector<ActionKind> kinds {
        {"open", wholeNumberFromZero, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.open({action.argument.get<size_t>(), {}}, error));
        }},
        {"next", pageCount, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.turnPages(action.argument.get<int>(), error));
        }},
        {"screenshot", fileName, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.writeScreenshot(action.argument.get<std::string>(), error));
        }},
        {"quit", anything, [](PMReaderWindow&, const PMReaderAction&, KCError*) { return Outcome::Stop; }},
        {"find", searchText, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.find(action.argument.get<std::string>(), error));
        }},
        {"highlight", text, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.highlight(action.argument.get<std::string>(), highlightStyle(action.options), error));
        }, highlightOptions},
        {"select", text, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            std::optional<PMHighlightEdit> choice;
            if (!action.options.empty()) {
                const PMHighlightStyle style = highlightStyle(action.options);
                choice = PMHighlightEdit {style.style, style.underline, style.note};
            }
            return outcome(window.selectText(action.argument.get<std::string>(), choice, error));
        }, highlightOptions},
        {"night", trueOrFalse, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.switchNight(action.argument.get<bool>(), error));
        }},
        {"sidebar", trueOrFalse, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.showNotes(action.argument.get<bool>(), error));
        }},
        {"share", shareMenu, [](PMReaderWindow& window, const PMReaderAction&, KCError* error) {
            auto titles = window.openShareMenu(error);
            for (const std::string& title : titles.value_or(std::vector<std::string>()))
                printed("share: " + title + "\n");
            return outcome(titles.has_value());
        }},
        {"export", fileName, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.exportNotes(action.argument.get<std::string>(), error));
        }},
        {"scrolled", trueOrFalse, [](PMReaderWindow& window, const PMReaderAction& action, KCError* error) {
            return outcome(window.switchScrolled(action.argument.get<bool>(), error));
        }},
    };
    return kinds;
}

const ActionKind* kindNamed(const std::string& name)
{
    for (const auto& kind : actionKinds()) {
        if (name == kind.name)
            return &kind;
    }
    return nullptr;
}

bool fail(KCError* error, size_t index, const std::string& message)
{
    return KCSetError(error, {PMReaderErrorDomain, 30, "action " + std::to_string(index + 1) + ": " + message});
}

} // namespace

std::optional<std::vector<PMReaderAction>> PMParseReaderActions(std::string_view json, KCError* error)
{
    auto list = nlohmann::ordered_json::parse(json, nullptr, false);
    if (list.is_discarded() || !list.is_array()) {
        KCSetError(error, {PMReaderErrorDomain, 31, "the actions are not a JSON list of objects"});
        return std::nullopt;
    }
    std::vector<PMReaderAction> actions;
    for (size_t index = 0; index < list.size(); ++index) {
        const auto& object = list[index];
        if (!object.is_object() || object.empty()) {
            fail(error, index, "is not an object naming an action");
            return std::nullopt;
        }
        const std::string name = object.begin().key();
        const ActionKind* kind = kindNamed(name);
        if (!kind) {
            fail(error, index, "there is no action \u201C" + name + "\u201D");
            return std::nullopt;
        }
        const nlohmann::ordered_json& argument = object.begin().value();
        if (auto problem = kind->check(argument)) {
            fail(error, index, name + " " + *problem);
            return std::nullopt;
        }
        nlohmann::ordered_json options = object;
        options.erase(name);
        const auto problem = kind->checkOptions ? kind->checkOptions(options)
            : options.empty()                   ? std::nullopt
                                                : std::optional<std::string>("takes no other members");
        if (problem) {
            fail(error, index, name + " " + *problem);
            return std::nullopt;
        }
        actions.push_back({name, argument, options});
    }
    return actions;
}

bool PMPlayReaderActions(PMReaderWindow& window, const std::vector<PMReaderAction>& actions, KCError* error, PMReaderActionOutput output)
{
    printed = output ? std::move(output) : [](const std::string& text) { std::cout << text << std::flush; };
    for (size_t index = 0; index < actions.size(); ++index) {
        const ActionKind* kind = kindNamed(actions[index].name);
        KCError reason;
        Outcome played = kind ? kind->play(window, actions[index], &reason) : Outcome::Failed;
        if (played == Outcome::Stop)
            return true;
        if (played == Outcome::Failed)
            return fail(error, index, reason.message.empty() ? "cannot be played" : reason.message);
    }
    return true;
}
