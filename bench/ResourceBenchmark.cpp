// Serving a 1 MiB obfuscated font through the book resource protocol, against
// a plain read of the same file: the protocol's cost is the claim, the key
// look-up, the digest, the XOR of the first 1040 bytes and the log lines.
#include "resources/PMFileReading.h"
#include "resources/PMURLProtocol.h"
#include "Utilities/KCLogger.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

class KeepingClient : public PMURLProtocolClient {
public:
    void didReceiveResponse(const PMURLResponse&, PMURLCacheStoragePolicy) override {}
    void didLoadData(std::shared_ptr<const KCData> data) override { this->data = std::move(data); }
    void didFinishLoading() override {}
    void didFailWithError(const KCError&) override {}
    std::shared_ptr<const KCData> data;
};

// A book directory with one obfuscated font of 1 MiB and a few hundred other
// resources in the resource information, made once per process.
struct Book {
    std::string contents;
    std::string fontPath;

    Book()
    {
        contents = (fs::temp_directory_path() / ("pm-bench-resource-" + std::to_string(::getpid()))).string();
        fs::create_directories(contents + "/OEBPS/fonts");
        fontPath = contents + "/OEBPS/fonts/font.ttf";

        std::string font;
        for (const char* name : {"DejaVuSans.ttf", "DejaVuSerif.ttf"}) {
            std::ifstream file(std::string("/usr/share/fonts/truetype/dejavu/") + name, std::ios::binary);
            font.append(std::istreambuf_iterator<char>(file), {});
        }
        font.resize(1 << 20, '\0');
        KCDictionary information {{"mimeType", u"font/ttf"}, {"encryptionAlgorithm", PMIDPFFontObfuscationAlgorithm}, {"bookEpubId", u"urn:uuid:9f1c2a3b-4d5e-6f70-8192-a3b4c5d6e7f8"}};
        KCData obfuscated = PMURLProtocol::unencryptFontWithAssetInfo(information, KCData(font.begin(), font.end()), *KCURL::fileURLWithPath("/x.bin"));
        std::ofstream(fontPath, std::ios::binary).write(reinterpret_cast<const char*>(obfuscated.data()), static_cast<std::streamsize>(obfuscated.size()));

        KCDictionary resources;
        for (int i = 0; i < 300; ++i)
            resources.set("/OEBPS/text/chapter" + std::to_string(i) + ".xhtml", KCDictionary {{"mimeType", u"application/xhtml+xml"}});
        resources.set("/OEBPS/fonts/font.ttf", information);
        fs::copy_file(fontPath, contents + "/OEBPS/fonts/plain.bin");
        resources.set("/OEBPS/fonts/plain.bin", KCDictionary {{"mimeType", u"font/ttf"}});
        PMURLProtocol::registerPMURLProtocol();
        PMURLProtocol::setBookContentsPath(contents);
        PMURLProtocol::setBookResourceData(resources);
        // The log lines are formatted as usual but not written to a terminal.
        KCLogger::sharedLogger()->setAuxPath("/dev/null");
        KCLogger::sharedLogger()->setLogToFileOnly(true);
    }
    ~Book() { fs::remove_all(contents); }
};

const Book& book()
{
    static Book shared;
    return shared;
}

void BM_PlainRead(benchmark::State& state)
{
    const Book& sample = book();
    for (auto _ : state) {
        KCError error;
        auto data = PMReadWholeFile(sample.fontPath, error);
        benchmark::DoNotOptimize(data);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * (1 << 20));
}
BENCHMARK(BM_PlainRead);

// Claims, reads and answers one request as the engine would have it served.
void serve(benchmark::State& state, const std::string& path)
{
    PMURLRequest request(KCURL::fileURLWithPath(path));
    for (auto _ : state) {
        auto client = std::make_shared<KeepingClient>();
        auto protocol = PMURLProtocolRegistry::shared().startLoading(request, client);
        benchmark::DoNotOptimize(client->data);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * (1 << 20));
}

void BM_ServeObfuscatedFont(benchmark::State& state)
{
    serve(state, book().fontPath);
}
BENCHMARK(BM_ServeObfuscatedFont);

// The same bytes as a resource without obfuscation: the protocol's cost
// without the digest, the XOR and the two log lines of a font.
void BM_ServePlainResource(benchmark::State& state)
{
    serve(state, book().contents + "/OEBPS/fonts/plain.bin");
}
BENCHMARK(BM_ServePlainResource);

} // namespace
