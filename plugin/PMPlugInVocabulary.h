#pragma once
// The words the plug-in and the reader's UI process share: task kinds,
// loading stages, message names and body keys. Each string constant's value
// is its own name.
#include <cstdint>

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

// Keys of an annotation overlay body, for the UI process; the plug-in itself
// uses none of them.
extern const char* const PMEpubAnnotationBodyRectsKey;
extern const char* const PMEpubAnnotationBodyThemeStyleKey;
extern const char* const PMEpubAnnotationBodyThemeIsInvertedKey;
extern const char* const PMEpubAnnotationBodyThemeIsUnderlineKey;
extern const char* const PMEpubAnnotationBodyThemeIsHoveredKey;
