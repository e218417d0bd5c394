#pragma once
// Annotations for the share generators' tests, in a store context that is never saved.
#include "TNAnnotation/TNAnnotationStoreDataSource.h"

#include <gtest/gtest.h>

class TNAnnotationShareTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_source.loadManagedObjectModel();
        m_source.loadPersistentStoreCoordinator();
        m_context = m_source.newManagedObjectContext();
        ASSERT_TRUE(m_context);
    }

    // An annotation of the book "BOOK" made on m_date.
    std::shared_ptr<TNAnnotation> insertAnnotation(TNAnnotation::TextArgument selected, TNAnnotation::TextArgument note)
    {
        auto made = TNAnnotation::insertAnnotationWithAssetID(u"BOOK", std::nullopt, std::nullopt, m_context.get());
        made->setAnnotationCreationDate(m_date);
        made->setAnnotationSelectedText(selected);
        made->setAnnotationNote(note);
        return made;
    }

    // "word. word. ...": count words, count * 6 - 1 units.
    static std::u16string words(int count)
    {
        std::u16string text;
        for (int i = 0; i < count; ++i)
            text += i ? u" word." : u"word.";
        return text;
    }

    TNAnnotationStoreDataSource m_source {*KCURL::fileURLWithPath("/nonexistent/Annotations.sqlite")};
    std::shared_ptr<KCManagedObjectContext> m_context;
    KCDate m_date = KCDate::fromTimeIntervalSince1970(1772704800);
};
