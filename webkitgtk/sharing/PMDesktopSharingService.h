#pragma once
// One desktop sharing service: a name, a title and an icon name, and the two
// functions that do its job. The perform function starts the share and calls
// `finish` once, on the main loop, with nothing on success or the error;
// the service then tells its delegate did or did-fail. The service keeps
// itself alive until then.
#include "platform/PMSharingService.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

class PMDesktopSharingService : public PMSharingService, public std::enable_shared_from_this<PMDesktopSharingService> {
public:
    using Finish = std::function<void(std::optional<KCError>)>;
    using CanPerform = std::function<bool(const PMShareItems&)>;
    using Perform = std::function<void(PMDesktopSharingService&, const PMShareItems&, Finish)>;

    PMDesktopSharingService(std::optional<std::u16string> name, std::u16string title, std::string iconName,
        CanPerform canPerform, Perform perform);

    std::optional<std::u16string> name() const override { return m_name; }
    std::u16string title() const override { return m_title; }
    std::string iconName() const override { return m_iconName; }
    PMSharingImageRef image() const override { return m_image; }
    PMSharingImageRef alternateImage() const override { return m_alternateImage; }
    void setImages(PMSharingImageRef image, PMSharingImageRef alternateImage);
    std::optional<std::u16string> subject() const override { return m_subject; }
    void setSubject(std::optional<std::u16string> subject) override { m_subject = std::move(subject); }
    PMSharingServiceDelegate* delegate() const override { return m_delegate; }
    void setDelegate(PMSharingServiceDelegate* delegate) override { m_delegate = delegate; }

    bool canPerformWithItems(const PMShareItems& items) override;
    void performWithItems(const PMShareItems& items) override;

private:
    std::optional<std::u16string> m_name;
    std::u16string m_title;
    std::string m_iconName;
    PMSharingImageRef m_image = std::make_shared<PMSharingImage>();
    PMSharingImageRef m_alternateImage = std::make_shared<PMSharingImage>();
    CanPerform m_canPerform;
    Perform m_perform;
    std::optional<std::u16string> m_subject;
    PMSharingServiceDelegate* m_delegate = nullptr;
};
