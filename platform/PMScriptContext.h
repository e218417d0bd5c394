#pragma once
// The script context of a page's main frame, as the page bridge uses it:
// evaluation, the context's current-exception slot, global properties,
// value conversion to and from KCValue, calls of function values and
// native functions that page scripts can call.
#include "Utilities/KCValue.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// A script value of one context; the handle keeps the value alive.
class PMScriptValue {
public:
    virtual ~PMScriptValue() = default;
};

// A thrown exception; its description is what the log shows.
class PMScriptException {
public:
    virtual ~PMScriptException() = default;
    virtual std::string description() const = 0;
};

using PMScriptValueRef = std::shared_ptr<PMScriptValue>;
using PMScriptExceptionRef = std::shared_ptr<PMScriptException>;

class PMScriptContext {
public:
    // Answers the call's result; nullptr stands for undefined.
    using NativeFunction = std::function<PMScriptValueRef(PMScriptContext&, std::span<const PMScriptValueRef>)>;

    virtual ~PMScriptContext() = default;

    // The completion value, or nullptr when the script threw; the exception
    // is then left in the context's slot.
    virtual PMScriptValueRef evaluate(std::u16string_view script) = 0;
    // Calls a function value without a receiver object. nullptr when the
    // value is not a function or the call threw (the exception is left in the slot).
    virtual PMScriptValueRef callFunction(const PMScriptValueRef& function, std::span<const PMScriptValueRef> arguments) = 0;

    virtual PMScriptExceptionRef exception() const = 0;
    // nullptr empties the slot.
    virtual void setException(const PMScriptExceptionRef& exception) = 0;
    void clearException() { setException(nullptr); }

    virtual void setGlobalProperty(std::string_view name, const PMScriptValueRef& value) = 0;
    virtual PMScriptValueRef makeFunction(std::string_view name, NativeFunction function) = 0;

    virtual PMScriptValueRef valueFromKCValue(const KCValue& value) = 0;
    // undefined and null become the null value; functions too.
    virtual KCValue toKCValue(const PMScriptValueRef& value) = 0;
    // The script's own string form of the value; nothing when it threw.
    virtual std::optional<std::u16string> toString(const PMScriptValueRef& value) = 0;
};
