#pragma once
// The page text port on a live document. The web-process API has no DOM, so
// one script reads the body's rendered text (the engine's innerText) and
// hands it back in runs, each with the element chain above the node it comes
// from; the runs are then read like a text iterator's.
#include "platform/PMPageText.h"

typedef struct _JSCContext JSCContext;

class PMWebKitDocument final : public PMDOMDocument {
public:
    explicit PMWebKitDocument(JSCContext* context);  // takes a reference
    ~PMWebKitDocument() override;
    PMWebKitDocument(const PMWebKitDocument&) = delete;
    PMWebKitDocument& operator=(const PMWebKitDocument&) = delete;

    std::unique_ptr<PMTextIterator> bodyTextIterator() override;

private:
    JSCContext* m_context;
};
