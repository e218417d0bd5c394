#pragma once
// One task of the plug-in on one document: send the task, load the document,
// wait for the task's reply for that document.
// Errors: answers nothing and fills *error on time-out, a failed load or an
// ended web process.
#include "PMReaderWebView.h"

std::optional<KCValue> PMRunDocumentTask(PMReaderWebView& view, const PMDocumentTask& task, const std::string& fileURI, double timeoutSeconds, KCError* error);
