#include "PMJSCScriptContext.h"

#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <cstring>
#include <jsc/jsc.h>
#include <memory>

namespace {

// Nesting deeper than this is cut off, so a cyclic object cannot recurse forever.
constexpr int kMaxConversionDepth = 32;
// Longer arrays are cut off, so a sparse `new Array(1e9)` cannot stall the page.
constexpr uint64_t kMaxConvertedElements = 1u << 20;

// Notes whether anything threw while it lives; the exception still lands in
// the context's slot, as it does without a handler.
class ThrowWatch {
public:
    explicit ThrowWatch(JSCContext* context) : m_context(context)
    {
        jsc_context_push_exception_handler(context, &ThrowWatch::handle, this, nullptr);
    }
    ~ThrowWatch() { jsc_context_pop_exception_handler(m_context); }
    ThrowWatch(const ThrowWatch&) = delete;
    ThrowWatch& operator=(const ThrowWatch&) = delete;
    bool threw() const { return m_threw; }

private:
    static void handle(JSCContext* context, JSCException* exception, gpointer watch)
    {
        static_cast<ThrowWatch*>(watch)->m_threw = true;
        jsc_context_throw_exception(context, exception);
    }
    JSCContext* m_context;
    bool m_threw = false;
};

JSCValue* nativeOf(const PMScriptValueRef& value)
{
    auto* script = dynamic_cast<PMJSCScriptValue*>(value.get());
    return script ? script->value() : nullptr;
}

struct NativeFunctionBox {
    JSCContext* context;  // where the function was made; not referenced, as a page's context object may go before its functions
    PMScriptContext::NativeFunction function;
};

JSCValue* callNativeFunction(GPtrArray* arguments, gpointer data)
{
    auto* box = static_cast<NativeFunctionBox*>(data);
    // The context running the call; the one the function was made in may
    // have been released by now (a page's context object is short-lived).
    JSCContext* current = jsc_context_get_current();
    PMJSCScriptContext context(current ? current : box->context);
    std::vector<PMScriptValueRef> wrapped;
    wrapped.reserve(arguments ? arguments->len : 0);
    for (guint index = 0; arguments && index < arguments->len; ++index)
        wrapped.push_back(std::make_shared<PMJSCScriptValue>(static_cast<JSCValue*>(g_ptr_array_index(arguments, index))));
    PMScriptValueRef result = box->function(context, wrapped);
    if (JSCValue* value = nativeOf(result))
        return static_cast<JSCValue*>(g_object_ref(value));
    return jsc_value_new_undefined(context.context());
}

} // namespace

PMJSCScriptValue::PMJSCScriptValue(JSCValue* value) : m_value(static_cast<JSCValue*>(g_object_ref(value))) {}
PMJSCScriptValue::~PMJSCScriptValue() { g_object_unref(m_value); }

PMJSCScriptException::PMJSCScriptException(JSCException* exception)
    : m_exception(static_cast<JSCException*>(g_object_ref(exception))) {}
PMJSCScriptException::~PMJSCScriptException() { g_object_unref(m_exception); }

std::string PMJSCScriptException::description() const
{
    KCGCharPointer text(jsc_exception_to_string(m_exception));
    return text ? std::string(text.get()) : std::string();
}

std::shared_ptr<PMJSCScriptContext> PMJSCScriptContext::create()
{
    // One virtual machine for every free-standing context, kept for the life
    // of the process as a page's machine is: tearing a machine down runs
    // engine code that the process need not run.
    static JSCVirtualMachine* const machine = jsc_virtual_machine_new();
    JSCContext* context = jsc_context_new_with_virtual_machine(machine);
    auto result = std::make_shared<PMJSCScriptContext>(context);
    g_object_unref(context);
    return result;
}

PMJSCScriptContext::PMJSCScriptContext(JSCContext* context) : m_context(static_cast<JSCContext*>(g_object_ref(context))) {}
PMJSCScriptContext::~PMJSCScriptContext() { g_object_unref(m_context); }

PMScriptValueRef PMJSCScriptContext::wrap(JSCValue* value)
{
    if (!value)
        return nullptr;
    auto result = std::make_shared<PMJSCScriptValue>(value);
    g_object_unref(value);
    return result;
}

PMScriptValueRef PMJSCScriptContext::evaluate(std::u16string_view script)
{
    std::string code = KCUTF8FromUTF16(script);
    ThrowWatch watch(m_context);
    PMScriptValueRef result = wrap(jsc_context_evaluate(m_context, code.data(), static_cast<gssize>(code.size())));
    return watch.threw() ? nullptr : result;
}

PMScriptValueRef PMJSCScriptContext::callFunction(const PMScriptValueRef& function, std::span<const PMScriptValueRef> arguments)
{
    JSCValue* callee = nativeOf(function);
    if (!callee || !jsc_value_is_function(callee))
        return nullptr;
    std::vector<JSCValue*> parameters;
    std::vector<PMScriptValueRef> undefineds;  // keeps stand-ins for foreign values alive
    parameters.reserve(arguments.size());
    for (const auto& argument : arguments) {
        JSCValue* parameter = nativeOf(argument);
        if (!parameter) {
            undefineds.push_back(wrap(jsc_value_new_undefined(m_context)));
            parameter = nativeOf(undefineds.back());
        }
        parameters.push_back(parameter);
    }
    ThrowWatch watch(m_context);
    PMScriptValueRef result = wrap(jsc_value_function_callv(callee, static_cast<guint>(parameters.size()), parameters.data()));
    return watch.threw() ? nullptr : result;
}

PMScriptExceptionRef PMJSCScriptContext::exception() const
{
    JSCException* exception = jsc_context_get_exception(m_context);
    return exception ? std::make_shared<PMJSCScriptException>(exception) : nullptr;
}

void PMJSCScriptContext::setException(const PMScriptExceptionRef& exception)
{
    auto* native = dynamic_cast<PMJSCScriptException*>(exception.get());
    if (native)
        jsc_context_throw_exception(m_context, native->exception());
    else
        jsc_context_clear_exception(m_context);
}

void PMJSCScriptContext::setGlobalProperty(std::string_view name, const PMScriptValueRef& value)
{
    JSCValue* native = nativeOf(value);
    PMScriptValueRef undefined;
    if (!native) {
        undefined = wrap(jsc_value_new_undefined(m_context));
        native = nativeOf(undefined);
    }
    jsc_context_set_value(m_context, std::string(name).c_str(), native);
}

PMScriptValueRef PMJSCScriptContext::makeFunction(std::string_view name, NativeFunction function)
{
    auto* box = new NativeFunctionBox {m_context, std::move(function)};
    GDestroyNotify destroy = [](gpointer data) { delete static_cast<NativeFunctionBox*>(data); };
    return wrap(jsc_value_new_function_variadic(m_context, std::string(name).c_str(), G_CALLBACK(callNativeFunction), box, destroy, JSC_TYPE_VALUE));
}

PMScriptValueRef PMJSCScriptContext::valueFromKCValue(const KCValue& value)
{
    return wrap(nativeValue(value, 0));
}

JSCValue* PMJSCScriptContext::nativeValue(const KCValue& value, int depth)
{
    if (depth > kMaxConversionDepth) {
        KCLog("Value nested too deeply for the script context; passing null");
        return jsc_value_new_null(m_context);
    }
    switch (value.kind()) {
    case KCValue::Kind::Null:
    case KCValue::Kind::Object:
        return jsc_value_new_null(m_context);
    case KCValue::Kind::Boolean:
        return jsc_value_new_boolean(m_context, *value.boolValue());
    case KCValue::Kind::Integer:
    case KCValue::Kind::Unsigned:
    case KCValue::Kind::Double:
        return jsc_value_new_number(m_context, *value.doubleValue());
    case KCValue::Kind::String:
    case KCValue::Kind::URL: {
        std::string text = value.url() ? value.url()->absoluteString() : value.utf8String();
        GBytes* bytes = g_bytes_new(text.data(), text.size());
        JSCValue* result = jsc_value_new_string_from_bytes(m_context, bytes);
        g_bytes_unref(bytes);
        return result;
    }
    case KCValue::Kind::Data: {
        const KCData& data = *value.data();
        JSCValue* result = jsc_value_new_typed_array(m_context, JSC_TYPED_ARRAY_UINT8, data.size());
        gsize length = 0;
        if (void* bytes = jsc_value_typed_array_get_data(result, &length); bytes && length == data.size() && !data.empty())
            std::memcpy(bytes, data.data(), data.size());
        return result;
    }
    case KCValue::Kind::Date: {
        JSCValue* constructor = jsc_context_get_value(m_context, "Date");
        JSCValue* milliseconds = jsc_value_new_number(m_context, value.date()->timeIntervalSince1970() * 1000.0);
        JSCValue* result = jsc_value_is_constructor(constructor) ? jsc_value_constructor_callv(constructor, 1, &milliseconds) : nullptr;
        g_object_unref(constructor);
        if (!result)
            return milliseconds;
        g_object_unref(milliseconds);
        return result;
    }
    case KCValue::Kind::Array: {
        GPtrArray* elements = g_ptr_array_new_with_free_func(g_object_unref);
        for (const auto& element : *value.array())
            g_ptr_array_add(elements, nativeValue(element, depth + 1));
        JSCValue* result = jsc_value_new_array_from_garray(m_context, elements);
        g_ptr_array_unref(elements);
        return result;
    }
    case KCValue::Kind::Dictionary: {
        JSCValue* result = jsc_value_new_object(m_context, nullptr, nullptr);
        for (const auto& [key, element] : *value.dictionary()) {
            JSCValue* property = nativeValue(element, depth + 1);
            jsc_value_object_set_property(result, key.c_str(), property);
            g_object_unref(property);
        }
        return result;
    }
    }
    return jsc_value_new_null(m_context);
}

KCValue PMJSCScriptContext::toKCValue(const PMScriptValueRef& value)
{
    JSCValue* native = nativeOf(value);
    return native ? kcValue(native, 0) : KCValue();
}

KCValue PMJSCScriptContext::kcValue(JSCValue* value, int depth)
{
    if (jsc_value_is_undefined(value) || jsc_value_is_null(value) || jsc_value_is_function(value))
        return {};
    if (jsc_value_is_boolean(value))
        return KCValue(static_cast<bool>(jsc_value_to_boolean(value)));
    if (jsc_value_is_number(value))
        return KCValue(jsc_value_to_double(value));
    if (jsc_value_is_string(value)) {
        KCGCharPointer text(jsc_value_to_string(value));
        return text ? KCValue::fromUTF8(text.get()) : KCValue();
    }
    if (depth > kMaxConversionDepth) {
        KCLog("Script value nested too deeply to convert; using null");
        return {};
    }
    if (jsc_value_is_typed_array(value)) {
        gsize ignored = 0;
        auto* bytes = static_cast<const uint8_t*>(jsc_value_typed_array_get_data(value, &ignored));
        gsize size = jsc_value_typed_array_get_size(value);
        return bytes ? KCValue(KCData(bytes, bytes + size)) : KCValue(KCData());
    }
    if (jsc_value_is_array_buffer(value)) {
        gsize size = 0;
        auto* bytes = static_cast<const uint8_t*>(jsc_value_array_buffer_get_data(value, &size));
        return bytes ? KCValue(KCData(bytes, bytes + size)) : KCValue(KCData());
    }
    if (jsc_value_is_array(value)) {
        JSCValue* lengthValue = jsc_value_object_get_property(value, "length");
        double length = jsc_value_to_double(lengthValue);
        g_object_unref(lengthValue);
        uint64_t count = length > 0 ? static_cast<uint64_t>(std::min<double>(length, kMaxConvertedElements)) : 0;
        if (length > kMaxConvertedElements)
            KCLog("Script array of %f elements cut to %llu", length, static_cast<unsigned long long>(count));
        KCArray elements;
        elements.reserve(count);
        for (uint64_t index = 0; index < count; ++index) {
            JSCValue* element = jsc_value_object_get_property_at_index(value, static_cast<guint>(index));
            elements.push_back(kcValue(element, depth + 1));
            g_object_unref(element);
        }
        return KCValue(std::move(elements));
    }
    if (jsc_value_object_is_instance_of(value, "Date")) {
        JSCValue* time = jsc_value_object_invoke_methodv(value, "getTime", 0, nullptr);
        double milliseconds = time ? jsc_value_to_double(time) : 0;
        if (time)
            g_object_unref(time);
        return KCValue(KCDate::fromTimeIntervalSince1970(milliseconds / 1000.0));
    }
    KCDictionary dictionary;
    if (KCGStrvPointer names {jsc_value_object_enumerate_properties(value)}) {
        for (char** name = names.get(); *name; ++name) {
            JSCValue* property = jsc_value_object_get_property(value, *name);
            dictionary.set(*name, kcValue(property, depth + 1));
            g_object_unref(property);
        }
    }
    return KCValue(std::move(dictionary));
}

std::optional<std::u16string> PMJSCScriptContext::toString(const PMScriptValueRef& value)
{
    JSCValue* native = nativeOf(value);
    if (!native)
        return u"undefined";
    KCGCharPointer text(jsc_value_to_string(native));
    if (!text)
        return std::nullopt;
    return KCUTF16FromUTF8(text.get());
}
