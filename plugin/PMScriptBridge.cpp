#include "PMScriptBridge.h"

#include "platform/PMBrowserContext.h"
#include "Search/KCSearchRange.h"
#include "Utilities/KCLogger.h"

#include <cmath>
#include <vector>

namespace {

std::shared_ptr<PMScriptContext> scriptContextOfPage(PMPage& page)
{
    std::shared_ptr<PMFrame> frame = page.mainFrame();
    std::shared_ptr<PMScriptContext> context = frame ? frame->scriptContext() : nullptr;
    if (!context)
        KCLog("Page %p has no script context", static_cast<const void*>(&page));
    return context;
}

void logPendingException(const PMScriptContext& context)
{
    if (PMScriptExceptionRef exception = context.exception())
        KCLog("JavaScript exception: %@", exception->description());
}

std::u16string argumentText(PMScriptContext& context, std::span<const PMScriptValueRef> arguments, size_t index)
{
    // A missing argument is no text; a passed undefined is "undefined", as in the page.
    if (index >= arguments.size())
        return {};
    std::optional<std::u16string> text = context.toString(arguments[index]);
    return text ? std::move(*text) : std::u16string();
}

PMScriptValueRef searchInsensitively(PMScriptContext& context, std::span<const PMScriptValueRef> arguments)
{
    std::u16string text = argumentText(context, arguments, 0);
    std::u16string search = argumentText(context, arguments, 1);
    KCValue start = arguments.size() > 2 ? context.toKCValue(arguments[2]) : KCValue();
    return context.valueFromKCValue(KCValue(PMSearchTextInsensitively(text, search, start)));
}

PMScriptValueRef consoleLog(PMScriptContext& context, std::span<const PMScriptValueRef> arguments)
{
    KCLog("%@", argumentText(context, arguments, 0));
    return nullptr;
}

} // namespace

std::optional<std::u16string> executeJavaScriptInPage(std::u16string_view script, PMPage& page)
{
    std::shared_ptr<PMScriptContext> context = scriptContextOfPage(page);
    if (!context)
        return std::nullopt;
    PMScriptExceptionRef saved = context->exception();
    PMScriptValueRef result = context->evaluate(script);
    // Converted before the exception is put back: a throwing toString must
    // not leave its own exception behind.
    std::optional<std::u16string> text = result ? context->toString(result) : std::nullopt;
    logPendingException(*context);
    context->setException(saved);
    return text;
}

std::optional<std::u16string> executeJavaScriptFuncWithArgsInPage(std::u16string_view expression, const KCArray& arguments, PMPage& page)
{
    std::shared_ptr<PMScriptContext> context = scriptContextOfPage(page);
    if (!context)
        return std::nullopt;
    std::vector<PMScriptValueRef> scriptArguments;
    scriptArguments.reserve(arguments.size());
    for (const auto& argument : arguments)
        scriptArguments.push_back(context->valueFromKCValue(argument));

    PMScriptExceptionRef saved = context->exception();
    context->clearException();
    PMScriptValueRef function = context->evaluate(expression);
    std::optional<std::u16string> text;
    if (!context->exception()) {
        // A value that is no function is not called, silently: the page's
        // clean-up script may define only some of its functions.
        if (PMScriptValueRef result = context->callFunction(function, scriptArguments))
            text = context->toString(result);
    }
    logPendingException(*context);
    context->setException(saved);
    return text;
}

void setNativeBridgingFunctionsInPage(PMEpubWebProcessPlugIn&, PMPage& page)
{
    std::shared_ptr<PMScriptContext> context = scriptContextOfPage(page);
    if (!context)
        return;
    context->setGlobalProperty("PMSearchInsensitively", context->makeFunction("PMSearchInsensitively", searchInsensitively));
    context->setGlobalProperty("PMConsoleLog", context->makeFunction("PMConsoleLog", consoleLog));
}

int64_t PMSearchTextInsensitively(std::u16string_view text, std::u16string_view search, const KCValue& start)
{
    KCRange range {0, text.size()};
    KCValue::Kind kind = start.kind();
    bool isNumber = kind == KCValue::Kind::Integer || kind == KCValue::Kind::Unsigned || kind == KCValue::Kind::Double;
    if (isNumber && !std::isnan(*start.doubleValue())) {
        uint64_t location = *start.uint64Value();
        if (location != KCNotFound)
            range = {location, location <= text.size() ? text.size() - location : 0};
    }
    // A start past the end is refused and logged by the range search.
    KCRange found = KCRangeOfStringForSearch(text, search, range);
    return found.found() ? static_cast<int64_t>(found.location) : -1;
}
