#pragma once
// The protocol between the reader's UI process and the plug-in: task kinds,
// loading stages, message names, body keys, the initialisation dictionary,
// and typed encoding and decoding of every task message and reply. The
// plug-in, the reader-side host and the pagemoor program all speak through
// this file; nothing else spells a name or key. Each string constant's value
// is its own name unless its comment says otherwise.
// Errors: the decoders answer nothing for a body of the wrong shape.
#include "Utilities/KCGeometry.h"
#include "Utilities/KCValue.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

enum PMPlugInTask : int64_t {
    PMPlugInTaskNone = 0,
    PMPlugInTaskBloomFilter = 1,
    PMPlugInTaskSearchContext = 2,
    PMPlugInTaskPage = 3,
    PMPlugInTaskSnapshot = 4,
};

// Bit numbers in the plug-in's completedLayoutStages.
enum PMLoadingStage : uint64_t {
    PMLoadingStageLoadFinished = 1,
    PMLoadingStageFirstLayout = 2,
};

// Keys of the initialisation dictionary.
extern const char* const PMInitializationSandboxExtensionsKey;  // "SandboxExtensions"
extern const char* const PMInitializationBookContentsPathKey;   // "BookContentsPath"
extern const char* const PMInitializationBookResourceDataKey;   // "BookResourceData"
extern const char* const PMInitializationPaginationModeKey;     // "PaginationMode"
extern const char* const PMInitializationBookInfoKey;           // "BookInfo"

// Messages from the UI process.
extern const char* const PMPrepareForDocumentTaskMessage;  // "PrepareForDocumentTask"
extern const char* const PMHardStopAndExitMessage;         // "HardStopAndExit"
extern const char* const PMPrepareForDocumentTaskKey;      // "task"

extern const char* const PMEpubWebProcessPlugInObjectDocumentIndex;
extern const char* const PMEpubWebProcessPlugInObjectBloomFilter;
extern const char* const PMEpubWebProcessPlugInObjectSearchString;
extern const char* const PMEpubWebProcessPlugInObjectContextArray;
extern const char* const PMEpubWebProcessPlugInMessageBloomFilterTask;
extern const char* const PMEpubWebProcessPlugInMessageSearchContextTask;
extern const char* const PMEpubWebProcessPlugInMessagePageTask;
extern const char* const PMEpubWebProcessPlugInMessageSnapshotTask;
extern const char* const PMEpubWebProcessPlugInMessageSnapshotData;
extern const char* const PMEpubWebProcessPlugInMessageSnapshotSize;
extern const char* const PMEpubWebProcessPlugInMessageSnapshotViewportOnly;
extern const char* const PMEpubWebProcessPlugInMessageResourceLoadTask;
extern const char* const PMEpubWebProcessPlugInMessageUpdateBookInfo;

// Keys of a search context dictionary.
extern const char* const PMSearchContextRangeLocationKey;  // "rangeLocation"
extern const char* const PMSearchContextRangeLengthKey;    // "rangeLength"
extern const char* const PMSearchContextContextKey;        // "context"

// Keys of an annotation overlay body, which the UI process builds and draws.
extern const char* const PMEpubAnnotationBodyRectsKey;
extern const char* const PMEpubAnnotationBodyThemeStyleKey;
extern const char* const PMEpubAnnotationBodyThemeIsInvertedKey;
extern const char* const PMEpubAnnotationBodyThemeIsUnderlineKey;
extern const char* const PMEpubAnnotationBodyThemeIsHoveredKey;

// What the plug-in is started with.
struct PMPlugInInitialization {
    KCArray sandboxExtensions;  // tokens, as data
    std::string bookContentsPath;
    KCDictionary bookResourceData;
    bool paginationMode = false;
    KCDictionary bookInfo;
};
KCDictionary PMEncodeInitialization(const PMPlugInInitialization& initialization);

// The body of "PrepareForDocumentTask".
struct PMDocumentTask {
    PMPlugInTask task = PMPlugInTaskNone;
    uint64_t documentIndex = 0;
    std::u16string searchString;        // search-context task
    KCSize snapshotSize;                // snapshot task
    std::optional<bool> viewportOnly;   // snapshot task; absent keeps the previous setting

    static PMDocumentTask bloomFilter(uint64_t documentIndex);
    static PMDocumentTask searchContext(uint64_t documentIndex, std::u16string searchString);
    static PMDocumentTask page(uint64_t documentIndex);
    static PMDocumentTask snapshot(uint64_t documentIndex, const KCSize& size, std::optional<bool> viewportOnly);

    KCDictionary encode() const;
    // An unknown or missing task reads as PMPlugInTaskNone, other missing keys as empty.
    static PMDocumentTask decode(const KCDictionary& body);
};

// The name of the reply that ends `task`; nullptr for PMPlugInTaskNone.
const char* PMReplyMessageForTask(PMPlugInTask task);

// The document index every reply carries; nothing when the body has none.
std::optional<uint64_t> PMDecodeReplyDocumentIndex(const KCValue& body);

struct PMSearchContextEntry {
    uint64_t rangeLocation = 0;
    uint64_t rangeLength = 0;
    std::u16string context;
};

// Reply bodies, as the plug-in writes them.
KCDictionary PMEncodeBloomFilterReply(uint64_t documentIndex, KCData archive);
KCDictionary PMEncodeSearchContextReply(uint64_t documentIndex, const std::vector<PMSearchContextEntry>& contexts);
KCDictionary PMEncodePageReply(uint64_t documentIndex);
KCDictionary PMEncodeSnapshotReply(uint64_t documentIndex, std::optional<KCData> png);

// Reply bodies, as the UI process reads them. The filter archive is absent
// from a body without one; search contexts that are not dictionaries are skipped.
std::optional<KCData> PMDecodeBloomFilterReply(const KCValue& body);
std::optional<std::vector<PMSearchContextEntry>> PMDecodeSearchContextReply(const KCValue& body);
// The PNG, or nothing when the page could not be drawn.
std::optional<KCData> PMDecodeSnapshotReply(const KCValue& body);
