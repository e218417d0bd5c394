#pragma once
// The script-context port on JavaScriptCore's GLib API. It works on a page
// frame's context and on a free-standing one alike.
#include "platform/PMScriptContext.h"

typedef struct _JSCContext JSCContext;
typedef struct _JSCValue JSCValue;
typedef struct _JSCException JSCException;

class PMJSCScriptValue final : public PMScriptValue {
public:
    explicit PMJSCScriptValue(JSCValue* value);  // takes a reference
    ~PMJSCScriptValue() override;
    PMJSCScriptValue(const PMJSCScriptValue&) = delete;
    PMJSCScriptValue& operator=(const PMJSCScriptValue&) = delete;
    JSCValue* value() const { return m_value; }

private:
    JSCValue* m_value;
};

class PMJSCScriptException final : public PMScriptException {
public:
    explicit PMJSCScriptException(JSCException* exception);  // takes a reference
    ~PMJSCScriptException() override;
    PMJSCScriptException(const PMJSCScriptException&) = delete;
    PMJSCScriptException& operator=(const PMJSCScriptException&) = delete;
    std::string description() const override;
    JSCException* exception() const { return m_exception; }

private:
    JSCException* m_exception;
};

class PMJSCScriptContext final : public PMScriptContext {
public:
    // A new context with no page; all such contexts share one virtual machine.
    static std::shared_ptr<PMJSCScriptContext> create();
    explicit PMJSCScriptContext(JSCContext* context);  // takes a reference
    ~PMJSCScriptContext() override;
    PMJSCScriptContext(const PMJSCScriptContext&) = delete;
    PMJSCScriptContext& operator=(const PMJSCScriptContext&) = delete;

    JSCContext* context() const { return m_context; }

    PMScriptValueRef evaluate(std::u16string_view script) override;
    PMScriptValueRef callFunction(const PMScriptValueRef& function, std::span<const PMScriptValueRef> arguments) override;
    PMScriptExceptionRef exception() const override;
    void setException(const PMScriptExceptionRef& exception) override;
    void setGlobalProperty(std::string_view name, const PMScriptValueRef& value) override;
    PMScriptValueRef makeFunction(std::string_view name, NativeFunction function) override;
    PMScriptValueRef valueFromKCValue(const KCValue& value) override;
    KCValue toKCValue(const PMScriptValueRef& value) override;
    std::optional<std::u16string> toString(const PMScriptValueRef& value) override;

private:
    JSCValue* nativeValue(const KCValue& value, int depth);
    KCValue kcValue(JSCValue* value, int depth);
    PMScriptValueRef wrap(JSCValue* value);  // adopts the reference

    JSCContext* m_context;
};
