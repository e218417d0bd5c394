#pragma once
// Sharing services for tests: services registered by name that answer
// can-perform as configured, record what they were asked and performed, and
// finish a share at once, reporting success or failure to their delegate.
#include "platform/PMSharingService.h"

#include <map>
#include <string>
#include <vector>

class PMRecordingSharingService : public PMSharingService {
public:
    enum class Outcome { Success, Failure };

    PMRecordingSharingService(std::optional<std::u16string> name, std::u16string title, PMSharingImageRef image = nullptr,
        PMSharingImageRef alternateImage = nullptr, std::function<void()> handler = {});

    std::optional<std::u16string> name() const override { return m_name; }
    std::u16string title() const override { return m_title; }
    PMSharingImageRef image() const override { return m_image; }
    PMSharingImageRef alternateImage() const override { return m_alternateImage; }
    std::optional<std::u16string> subject() const override { return m_subject; }
    void setSubject(std::optional<std::u16string> subject) override { m_subject = std::move(subject); }
    PMSharingServiceDelegate* delegate() const override { return m_delegate; }
    void setDelegate(PMSharingServiceDelegate* delegate) override { m_delegate = delegate; }
    // Records the items; answers canPerform.
    bool canPerformWithItems(const PMShareItems& items) override;
    // Records the items, runs the handler, then tells the delegate will and
    // did (outcome Success) or did-fail (Failure).
    void performWithItems(const PMShareItems& items) override;

    bool canPerform = true;
    Outcome outcome = Outcome::Success;
    std::vector<PMShareItems> canPerformRequests;
    std::vector<PMShareItems> performedItems;

private:
    std::optional<std::u16string> m_name;
    std::u16string m_title;
    PMSharingImageRef m_image;
    PMSharingImageRef m_alternateImage;
    std::function<void()> m_handler;
    std::optional<std::u16string> m_subject;
    PMSharingServiceDelegate* m_delegate = nullptr;
};
using PMRecordingSharingServiceRef = std::shared_ptr<PMRecordingSharingService>;

class PMRecordingSharingPlatform : public PMSharingPlatform {
public:
    // Registers a service under its name, titled with the name.
    PMRecordingSharingServiceRef addService(std::u16string name, bool canPerform = true);

    PMSharingServiceRef sharingServiceNamed(std::u16string_view name) override;
    PMSharingServiceRef sharingServiceWithTitle(std::u16string_view title, PMSharingImageRef image,
        PMSharingImageRef alternateImage, std::function<void()> handler) override;
    std::shared_ptr<KCObject> mainWindow() override { return window; }
    bool hasClassNamed(std::u16string_view name) const override;

    std::shared_ptr<KCObject> window = std::make_shared<KCObject>();
    std::vector<std::u16string> classNames;
    // The services made by sharingServiceWithTitle, in order.
    std::vector<PMRecordingSharingServiceRef> madeServices;

private:
    std::map<std::u16string, PMRecordingSharingServiceRef, std::less<>> m_services;
};
