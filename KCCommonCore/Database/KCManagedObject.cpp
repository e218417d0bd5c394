#include "KCManagedObject.h"

#include "KCManagedObjectContext.h"
#include "Utilities/KCLogger.h"

#include <mutex>
#include <unordered_map>

namespace {

struct ClassRegistry {
    std::mutex lock;
    std::unordered_map<std::string, KCManagedObject::Factory> factories;
};

ClassRegistry& classRegistry()
{
    static ClassRegistry registry;
    return registry;
}

bool isNumberKind(KCValue::Kind kind)
{
    using Kind = KCValue::Kind;
    return kind == Kind::Boolean || kind == Kind::Integer || kind == Kind::Unsigned || kind == Kind::Double;
}

} // namespace

KCManagedObject::~KCManagedObject() = default;

void KCManagedObject::registerClass(const std::string& className, Factory factory)
{
    auto& registry = classRegistry();
    std::lock_guard guard(registry.lock);
    registry.factories[className] = factory;
}

std::shared_ptr<KCManagedObject> KCManagedObject::makeObjectOfClass(const std::string& className)
{
    Factory factory = nullptr;
    {
        auto& registry = classRegistry();
        std::lock_guard guard(registry.lock);
        auto found = registry.factories.find(className);
        if (found != registry.factories.end())
            factory = found->second;
    }
    return factory ? factory() : std::make_shared<KCManagedObject>();
}

bool KCManagedObject::p_isUsable(const char* operation) const
{
    if (!m_context) {
        KCLog("%s on an object that belongs to no context: %@", operation, description());
        return false;
    }
    return m_context->p_checkThread(operation);
}

const KCAttributeDescription* KCManagedObject::p_attribute(std::string_view key, const char* operation) const
{
    const KCAttributeDescription* attribute = m_entity ? m_entity->attributeNamed(key) : nullptr;
    if (!attribute)
        KCLog("%s: the entity %@ has no attribute %@", operation, m_entity ? m_entity->name() : std::string("(none)"), key);
    return attribute;
}

const KCValue& KCManagedObject::valueForKey(std::string_view key) const
{
    const KCAttributeDescription* attribute = p_attribute(key, "valueForKey");
    if (!attribute || (m_context && !m_context->p_checkThread("valueForKey")))
        return KCNullValue();
    return m_values[attribute->index];
}

void KCManagedObject::p_store(const KCAttributeDescription& attribute, KCValue value)
{
    m_values[attribute.index] = std::move(value);
    m_changed[attribute.index] = true;
    m_context->p_objectDidChange(*this);
}

void KCManagedObject::setValue(const KCValue& value, std::string_view key)
{
    const KCAttributeDescription* attribute = p_attribute(key, "setValue");
    if (!attribute || !p_isUsable("setValue"))
        return;
    auto accepted = KCAttributeValue(attribute->type, value);
    if (!accepted) {
        KCLog("Unacceptable value %@ for the %@ attribute %@ of %@", value, KCAttributeTypeName(attribute->type), key, m_entity->name());
        return;
    }
    willChangeValueForKey(key);
    p_store(*attribute, std::move(*accepted));
    didChangeValueForKey(key);
}

void KCManagedObject::setPrimitiveValue(const KCValue& value, std::string_view key)
{
    const KCAttributeDescription* attribute = p_attribute(key, "setPrimitiveValue");
    if (!attribute || !p_isUsable("setPrimitiveValue"))
        return;
    auto accepted = KCAttributeValue(attribute->type, value);
    if (!accepted) {
        KCLog("Unacceptable value %@ for the %@ attribute %@ of %@", value, KCAttributeTypeName(attribute->type), key, m_entity->name());
        return;
    }
    p_store(*attribute, std::move(*accepted));
}

void KCManagedObject::p_notify(std::string_view key, KCChangePhase phase)
{
    if (m_observers.empty())
        return;
    // A copy, so that an observer may remove itself.
    auto observers = m_observers;
    for (auto& [token, observer] : observers)
        observer(*this, key, phase);
}

void KCManagedObject::willChangeValueForKey(std::string_view key)
{
    p_notify(key, KCChangePhase::Prior);
}

void KCManagedObject::didChangeValueForKey(std::string_view key)
{
    p_notify(key, KCChangePhase::After);
}

uint64_t KCManagedObject::addObserver(Observer observer)
{
    uint64_t token = m_nextObserverToken++;
    m_observers.emplace_back(token, std::move(observer));
    return token;
}

void KCManagedObject::removeObserver(uint64_t token)
{
    std::erase_if(m_observers, [token](const auto& entry) { return entry.first == token; });
}

KCDictionary KCManagedObject::changedValues() const
{
    KCDictionary changes;
    if (!m_entity)
        return changes;
    for (const auto& attribute : m_entity->attributes()) {
        if (m_changed[attribute.index])
            changes.set(attribute.name, m_values[attribute.index]);
    }
    return changes;
}

std::shared_ptr<KCManagedObject> KCManagedObject::kc_faultIn() const
{
    if (!m_context)
        return nullptr;
    return m_context->existingObjectWithID(objectID(), nullptr);
}

void KCManagedObject::setDifferentValue(const KCValue& value, std::string_view key, KCValue::Kind klass)
{
    const KCValue& current = valueForKey(key);
    if (current == value)
        return;
    bool fits = value.kind() == klass || (isNumberKind(value.kind()) && isNumberKind(klass));
    setValue(fits ? value : KCValue(), key);
}

std::string KCManagedObject::description() const
{
    if (!m_entity)
        return "<KCManagedObject without entity>";
    std::string text = m_primaryKey ? KCStringWithFormat("<%@ %lld> {", m_entity->name(), static_cast<long long>(m_primaryKey))
                                    : KCStringWithFormat("<%@ (new)> {", m_entity->name());
    for (const auto& attribute : m_entity->attributes()) {
        if (!m_values[attribute.index].isNull())
            text.append(" ").append(attribute.name).append(" = ").append(m_values[attribute.index].description()).append(";");
    }
    return text.append(" }");
}
