#pragma once
// Which navigations a page may make by itself: the reader's own schemes,
// read-aloud and warning links, file links a reader follows and ISBN URNs are
// passed through to the reader; everything else is used by the page.
#include "platform/PMBrowserContext.h"

PMNavigationPolicy PMNavigationPolicyForAction(const PMNavigationAction& action);
