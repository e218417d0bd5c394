#pragma once
// Menus as the UI builds them and an adapter shows them: items with a title,
// an image, an action (which stands for the target and its selector), a key
// equivalent, a represented object and an enabled flag.
#include "PMSharingService.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class PMMenuItem {
public:
    using Action = std::function<void(PMMenuItem& sender)>;

    PMMenuItem(std::u16string title, Action action, std::u16string keyEquivalent)
        : title(std::move(title)), action(std::move(action)), keyEquivalent(std::move(keyEquivalent)) {}

    std::u16string title;
    PMSharingImageRef image;
    Action action;  // empty: the item does nothing
    std::u16string keyEquivalent;
    std::shared_ptr<KCObject> representedObject;
    bool enabled = true;
};
using PMMenuItemRef = std::shared_ptr<PMMenuItem>;

class PMMenu {
public:
    const std::vector<PMMenuItemRef>& itemArray() const { return m_items; }
    size_t numberOfItems() const { return m_items.size(); }
    void removeAllItems() { m_items.clear(); }
    void addItem(PMMenuItemRef item) { m_items.push_back(std::move(item)); }
    PMMenuItemRef addItemWithTitle(std::u16string title, PMMenuItem::Action action, std::u16string keyEquivalent)
    {
        return m_items.emplace_back(std::make_shared<PMMenuItem>(std::move(title), std::move(action), std::move(keyEquivalent)));
    }

private:
    std::vector<PMMenuItemRef> m_items;
};
