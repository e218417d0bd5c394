#pragma once
// The desktop's clipboard: share content offered as UTF-8 text, HTML, RTF
// and a URI list, as far as the content has them.
// A clipboard lives as long as the program that offers it; a one-shot
// command hands it to a background copy of itself that serves it until
// another program takes the clipboard.
// Errors: PMCopyToClipboard fails when there is no display or nothing to
// copy; PMKeepServingClipboardInBackground when the process cannot fork.
#include "PMShareContent.h"

#include "Utilities/KCError.h"

#include <sys/types.h>

bool PMCopyToClipboard(const PMShareContent& content, KCError* error);

// When this process owns the clipboard: forks a child that keeps the main
// loop running, detached from the terminal and the standard streams, until
// the clipboard is taken, then exits. Answers the child's process id in the
// parent, 0 when there is nothing to serve, -1 when forking failed.
pid_t PMKeepServingClipboardInBackground(KCError* error = nullptr);
