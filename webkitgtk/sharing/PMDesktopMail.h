#pragma once
// A new e-mail in the user's mail program: through the desktop's Email
// portal when one runs on the session bus, else through xdg-email (found on
// PATH). The body is the content's plain text with its web links; an HTML
// body goes along as an attached .html file, file URLs as attachments.
// Errors: the portal's or xdg-email's failure reaches `finish`.
#include "PMShareContent.h"

#include "Utilities/KCError.h"

#include <functional>
#include <optional>
#include <string>

using PMDesktopShareFinish = std::function<void(std::optional<KCError>)>;

void PMComposeMail(const PMShareContent& content, const std::string& subject, PMDesktopShareFinish finish);
