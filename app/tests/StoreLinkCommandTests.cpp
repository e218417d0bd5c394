// pagemoor store-link through the real program, against a local look-up server.
#include "PMProgramRunner.h"
#include "storelookup/tests/PMTestHTTPServer.h"

#include <gtest/gtest.h>

namespace {

class StoreLinkCommandTest : public ::testing::Test {
protected:
    PMProgramResult run(const std::string& arguments)
    {
        return PMRunPagemoor(arguments, {.environment = "PAGEMOOR_STORE_LOOKUP_URL=" + m_server.url("/lookup")
            + " PAGEMOOR_STORE_SERVICE_URL=" + m_server.url("/service") + " PAGEMOOR_STORE_HOST=store.test"});
    }

    PMTestHTTPServer m_server {[](const std::string& target) {
        if (target == "/lookup?id=1&profile=kTNUserPublishingLookProfileURL")
            return PMTestHTTPReply(200, R"({"results": {"1": {"url": "https://shop.test/book/1"}}})");
        return PMTestHTTPReply(404);
    }};
};

TEST_F(StoreLinkCommandTest, AnswersWhatTheServiceKnows)
{
    PMProgramResult looked = run("store-link 1 --json");
    EXPECT_EQ(looked.status, 0) << looked.err;
    EXPECT_EQ(looked.out, "{\n  \"storeId\": \"1\",\n  \"url\": \"https://shop.test/book/1\"\n}\n");

    PMProgramResult generated = run("store-link 2 --email-body --title 'Moby-Dick' --author 'Herman Melville'");
    EXPECT_EQ(generated.status, 0) << generated.err;
    EXPECT_NE(generated.out.find("<a href=\"https://store.test/book/id2\">Moby-Dick</a>"), std::string::npos);
    EXPECT_NE(generated.out.find("by Herman Melville"), std::string::npos);

    PMProgramResult unknown = run("store-link 2 --short");
    EXPECT_NE(unknown.status, 0);
    EXPECT_NE(unknown.err.find("pagemoor: no short URL for store ID '2'"), std::string::npos) << unknown.err;
    EXPECT_EQ(unknown.out, "");
}

} // namespace
