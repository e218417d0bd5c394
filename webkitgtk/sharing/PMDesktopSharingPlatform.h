#pragma once
// The desktop's sharing services: copy to the clipboard, e-mail, print and
// the social networks' web share pages, each under its activity type's name.
// Messages, contacts and the camera roll have no desktop service. Services
// that need the display open it when they perform; those that finish later
// (e-mail, print) report to their delegate from the main loop.
#include "platform/PMSharingService.h"

#include <memory>
#include <optional>
#include <string>

class PMDesktopSharingPlatform : public PMSharingPlatform {
public:
    PMSharingServiceRef sharingServiceNamed(std::u16string_view name) override;
    PMSharingServiceRef sharingServiceWithTitle(std::u16string_view title, PMSharingImageRef image,
        PMSharingImageRef alternateImage, std::function<void()> handler) override;
    std::shared_ptr<KCObject> mainWindow() override { return m_mainWindow; }
    void setMainWindow(std::shared_ptr<KCObject> window) { m_mainWindow = std::move(window); }
    // No view controller classes on the desktop.
    bool hasClassNamed(std::u16string_view) const override { return false; }

    // Printing goes into this PDF file instead of through the print dialog.
    // Services made earlier follow the change.
    const std::optional<std::string>& printToFile() const { return *m_printToFile; }
    void setPrintToFile(std::optional<std::string> path) { *m_printToFile = std::move(path); }

private:
    std::shared_ptr<KCObject> m_mainWindow;
    // Shared with the print services, which may outlive the platform.
    std::shared_ptr<std::optional<std::string>> m_printToFile = std::make_shared<std::optional<std::string>>();
};
