#include "PMPlugInProtocol.h"

#include "PMSizeString.h"

#define PM_NAMED_CONSTANT(name) const char* const name = #name

const char* const PMInitializationSandboxExtensionsKey = "SandboxExtensions";
const char* const PMInitializationBookContentsPathKey = "BookContentsPath";
const char* const PMInitializationBookResourceDataKey = "BookResourceData";
const char* const PMInitializationPaginationModeKey = "PaginationMode";
const char* const PMInitializationBookInfoKey = "BookInfo";

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

KCDictionary PMEncodeInitialization(const PMPlugInInitialization& initialization)
{
    return {
        {PMInitializationSandboxExtensionsKey, initialization.sandboxExtensions},
        {PMInitializationBookContentsPathKey, KCValue::fromUTF8(initialization.bookContentsPath)},
        {PMInitializationBookResourceDataKey, initialization.bookResourceData},
        {PMInitializationPaginationModeKey, initialization.paginationMode},
        {PMInitializationBookInfoKey, initialization.bookInfo},
    };
}

PMDocumentTask PMDocumentTask::bloomFilter(uint64_t documentIndex)
{
    return {PMPlugInTaskBloomFilter, documentIndex, {}, {}, std::nullopt};
}

PMDocumentTask PMDocumentTask::searchContext(uint64_t documentIndex, std::u16string searchString)
{
    return {PMPlugInTaskSearchContext, documentIndex, std::move(searchString), {}, std::nullopt};
}

PMDocumentTask PMDocumentTask::page(uint64_t documentIndex)
{
    return {PMPlugInTaskPage, documentIndex, {}, {}, std::nullopt};
}

PMDocumentTask PMDocumentTask::snapshot(uint64_t documentIndex, const KCSize& size, std::optional<bool> viewportOnly)
{
    return {PMPlugInTaskSnapshot, documentIndex, {}, size, viewportOnly};
}

KCDictionary PMDocumentTask::encode() const
{
    KCDictionary body {{PMPrepareForDocumentTaskKey, static_cast<int64_t>(task)}, {PMEpubWebProcessPlugInObjectDocumentIndex, documentIndex}};
    if (task == PMPlugInTaskSearchContext)
        body.set(PMEpubWebProcessPlugInObjectSearchString, searchString);
    if (task == PMPlugInTaskSnapshot) {
        body.set(PMEpubWebProcessPlugInMessageSnapshotSize, KCValue::fromUTF8(PMStringFromSize(snapshotSize)));
        if (viewportOnly)
            body.set(PMEpubWebProcessPlugInMessageSnapshotViewportOnly, *viewportOnly);
    }
    return body;
}

PMDocumentTask PMDocumentTask::decode(const KCDictionary& body)
{
    PMDocumentTask task;
    const KCValue* kind = body.find(PMPrepareForDocumentTaskKey);
    task.task = static_cast<PMPlugInTask>(kind ? kind->int64Value().value_or(PMPlugInTaskNone) : PMPlugInTaskNone);
    if (const KCValue* index = body.find(PMEpubWebProcessPlugInObjectDocumentIndex))
        task.documentIndex = index->uint64Value().value_or(0);
    if (const KCValue* search = body.find(PMEpubWebProcessPlugInObjectSearchString); search && search->string())
        task.searchString = *search->string();
    if (const KCValue* size = body.find(PMEpubWebProcessPlugInMessageSnapshotSize); size && size->string())
        task.snapshotSize = PMSizeFromString(size->utf8String());
    if (const KCValue* viewportOnly = body.find(PMEpubWebProcessPlugInMessageSnapshotViewportOnly))
        task.viewportOnly = viewportOnly->boolValue().value_or(false);
    return task;
}

const char* PMReplyMessageForTask(PMPlugInTask task)
{
    switch (task) {
    case PMPlugInTaskBloomFilter:
        return PMEpubWebProcessPlugInMessageBloomFilterTask;
    case PMPlugInTaskSearchContext:
        return PMEpubWebProcessPlugInMessageSearchContextTask;
    case PMPlugInTaskPage:
        return PMEpubWebProcessPlugInMessagePageTask;
    case PMPlugInTaskSnapshot:
        return PMEpubWebProcessPlugInMessageSnapshotTask;
    case PMPlugInTaskNone:
        break;
    }
    return nullptr;
}

std::optional<uint64_t> PMDecodeReplyDocumentIndex(const KCValue& body)
{
    const KCDictionary* dictionary = body.dictionary();
    const KCValue* index = dictionary ? dictionary->find(PMEpubWebProcessPlugInObjectDocumentIndex) : nullptr;
    return index ? index->uint64Value() : std::nullopt;
}

KCDictionary PMEncodeBloomFilterReply(uint64_t documentIndex, KCData archive)
{
    return {{PMEpubWebProcessPlugInObjectDocumentIndex, documentIndex}, {PMEpubWebProcessPlugInObjectBloomFilter, std::move(archive)}};
}

KCDictionary PMEncodeSearchContextReply(uint64_t documentIndex, const std::vector<PMSearchContextEntry>& contexts)
{
    KCArray array;
    array.reserve(contexts.size());
    for (const auto& entry : contexts) {
        array.emplace_back(KCDictionary {
            {PMSearchContextRangeLocationKey, entry.rangeLocation},
            {PMSearchContextRangeLengthKey, entry.rangeLength},
            {PMSearchContextContextKey, entry.context},
        });
    }
    return {{PMEpubWebProcessPlugInObjectDocumentIndex, documentIndex}, {PMEpubWebProcessPlugInObjectContextArray, std::move(array)}};
}

KCDictionary PMEncodePageReply(uint64_t documentIndex)
{
    return {{PMEpubWebProcessPlugInObjectDocumentIndex, documentIndex}};
}

KCDictionary PMEncodeSnapshotReply(uint64_t documentIndex, std::optional<KCData> png)
{
    KCDictionary body {{PMEpubWebProcessPlugInObjectDocumentIndex, documentIndex}};
    if (png)
        body.set(PMEpubWebProcessPlugInMessageSnapshotData, std::move(*png));
    return body;
}

std::optional<KCData> PMDecodeBloomFilterReply(const KCValue& body)
{
    const KCData* archive = body[PMEpubWebProcessPlugInObjectBloomFilter].data();
    return archive ? std::optional<KCData>(*archive) : std::nullopt;
}

std::optional<std::vector<PMSearchContextEntry>> PMDecodeSearchContextReply(const KCValue& body)
{
    const KCArray* array = body[PMEpubWebProcessPlugInObjectContextArray].array();
    if (!array)
        return std::nullopt;
    std::vector<PMSearchContextEntry> contexts;
    for (const KCValue& context : *array) {
        if (!context.dictionary())
            continue;
        const std::u16string* text = context[PMSearchContextContextKey].string();
        contexts.push_back({context[PMSearchContextRangeLocationKey].uint64Value().value_or(0),
            context[PMSearchContextRangeLengthKey].uint64Value().value_or(0), text ? *text : std::u16string()});
    }
    return contexts;
}

std::optional<KCData> PMDecodeSnapshotReply(const KCValue& body)
{
    const KCData* png = body[PMEpubWebProcessPlugInMessageSnapshotData].data();
    return png ? std::optional<KCData>(*png) : std::nullopt;
}
