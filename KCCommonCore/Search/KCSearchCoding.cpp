#include "KCSearchCoding.h"

#include "KCLibraryFragmentFilter.h"

#include <mutex>

void KCRegisterSearchCodingClasses()
{
    static std::once_flag once;
    std::call_once(once, [] {
        KCKeyedUnarchiver::registerClass(KCBloomFilter::kClassName, [](KCKeyedUnarchiver& coder) -> std::shared_ptr<KCObject> {
            return KCBloomFilter::initWithCoder(coder);
        });
        KCKeyedUnarchiver::registerClass(KCDocumentFragmentFilter::kClassName, [](KCKeyedUnarchiver& coder) -> std::shared_ptr<KCObject> {
            return KCDocumentFragmentFilter::initWithCoder(coder);
        });
        KCKeyedUnarchiver::registerClass(KCLibraryFragmentFilter::kClassName, [](KCKeyedUnarchiver& coder) -> std::shared_ptr<KCObject> {
            return KCLibraryFragmentFilter::initWithCoder(coder);
        });
    });
}
