#include "PMPlugInVocabulary.h"

#define PM_NAMED_CONSTANT(name) const char* const name = #name

const char* const PMPrepareForDocumentTaskMessage = "PrepareForDocumentTask";
const char* const PMHardStopAndExitMessage = "HardStopAndExit";
const char* const PMPrepareForDocumentTaskKey = "task";

PM_NAMED_CONSTANT(PMEpubWebProcessPlugInObjectDocumentIndex);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInObjectBloomFilter);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInObjectSearchString);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInObjectContextArray);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageBloomFilterTask);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageSearchContextTask);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessagePageTask);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageSnapshotTask);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageSnapshotData);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageSnapshotSize);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageSnapshotViewportOnly);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageResourceLoadTask);
PM_NAMED_CONSTANT(PMEpubWebProcessPlugInMessageUpdateBookInfo);

const char* const PMSearchContextRangeLocationKey = "rangeLocation";
const char* const PMSearchContextRangeLengthKey = "rangeLength";
const char* const PMSearchContextContextKey = "context";

PM_NAMED_CONSTANT(PMEpubAnnotationBodyRectsKey);
PM_NAMED_CONSTANT(PMEpubAnnotationBodyThemeStyleKey);
PM_NAMED_CONSTANT(PMEpubAnnotationBodyThemeIsInvertedKey);
PM_NAMED_CONSTANT(PMEpubAnnotationBodyThemeIsUnderlineKey);
PM_NAMED_CONSTANT(PMEpubAnnotationBodyThemeIsHoveredKey);
