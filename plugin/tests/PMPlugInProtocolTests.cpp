// The protocol module on both sides: what the UI process encodes is what the
// plug-in reads, and replies of the wrong shape decode to nothing.
#include "PMPlugInTestSupport.h"

namespace {

TEST_F(PMPlugInTest, EncodedTasksAreReadByThePlugIn)
{
    receive(PMPrepareForDocumentTaskMessage, PMDocumentTask::snapshot(7, {200.5, 300}, true).encode());
    EXPECT_EQ(plugIn->plugInTask(), PMPlugInTaskSnapshot);
    EXPECT_EQ(plugIn->documentIndex(), 7u);
    EXPECT_EQ(plugIn->snapshotSize(), (KCSize {200.5, 300}));
    EXPECT_TRUE(plugIn->snapshotViewportOnly());
    // Leaving the setting out keeps the plug-in's previous one; a missing size is {0, 0}.
    receive(PMPrepareForDocumentTaskMessage, PMDocumentTask::snapshot(8, {10, 20}, std::nullopt).encode());
    EXPECT_TRUE(plugIn->snapshotViewportOnly());
    prepare(PMPlugInTaskSnapshot, 4);
    EXPECT_EQ(plugIn->snapshotSize(), (KCSize {0, 0}));
    EXPECT_TRUE(plugIn->snapshotViewportOnly());

    receive(PMPrepareForDocumentTaskMessage, PMDocumentTask::searchContext(9, u"wh\u00e6le").encode());
    EXPECT_EQ(plugIn->plugInTask(), PMPlugInTaskSearchContext);
    EXPECT_EQ(plugIn->searchString(), u"wh\u00e6le");
    for (auto task : {PMDocumentTask::bloomFilter(1), PMDocumentTask::page(2)}) {
        receive(PMPrepareForDocumentTaskMessage, task.encode());
        EXPECT_EQ(plugIn->plugInTask(), task.task);
        EXPECT_EQ(plugIn->documentIndex(), task.documentIndex);
    }
    receive(PMPrepareForDocumentTaskMessage, KCDictionary {{PMEpubWebProcessPlugInObjectDocumentIndex, 6u}});
    EXPECT_EQ(plugIn->plugInTask(), PMPlugInTaskNone);  // a missing task is 0
}

TEST(PMPlugInProtocol, RepliesDecodeOrAnswerNothing)
{
    std::vector<PMSearchContextEntry> contexts {{3, 5, u"The whale."}, {0, 1, u"A"}};
    KCValue reply(PMEncodeSearchContextReply(4, contexts));
    EXPECT_EQ(PMDecodeReplyDocumentIndex(reply), 4u);
    auto decoded = PMDecodeSearchContextReply(reply);
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->size(), 2u);
    EXPECT_EQ((*decoded)[0].rangeLocation, 3u);
    EXPECT_EQ((*decoded)[0].context, u"The whale.");

    // Entries that are not dictionaries are skipped; bodies of another shape give nothing.
    KCValue mixed(KCDictionary {{PMEpubWebProcessPlugInObjectContextArray, KCArray {KCValue(u"junk"), KCValue(KCDictionary {})}}});
    EXPECT_EQ(PMDecodeSearchContextReply(mixed)->size(), 1u);
    for (const KCValue& body : {KCValue(), KCValue(u"text"), KCValue(KCDictionary {{PMEpubWebProcessPlugInObjectDocumentIndex, u"4"}})}) {
        EXPECT_FALSE(PMDecodeReplyDocumentIndex(body));
        EXPECT_FALSE(PMDecodeSearchContextReply(body));
        EXPECT_FALSE(PMDecodeBloomFilterReply(body));
        EXPECT_FALSE(PMDecodeSnapshotReply(body));
    }
    EXPECT_FALSE(PMDecodeSnapshotReply(KCValue(PMEncodeSnapshotReply(1, std::nullopt))));
    EXPECT_EQ(PMDecodeSnapshotReply(KCValue(PMEncodeSnapshotReply(1, KCData {1, 2}))), (KCData {1, 2}));
    EXPECT_EQ(PMReplyMessageForTask(PMPlugInTaskNone), nullptr);
}

} // namespace
