// pagemoor annotations: adds, lists, changes, queries and quotes (excerpts) the annotations of an annotation store file.
#include "BookCommandSupport.h"
#include "StoreCommandSupport.h"

#include "TNAnnotation/TNAnnotation.h"
#include "TNAnnotation/TNAnnotationStoreDataSource.h"
#include "Utilities/KCJSON.h"
#include "Utilities/KCStringConversion.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>

namespace {

const char* const kUsage =
    "usage: pagemoor annotations --store FILE COMMAND [OPTIONS]\n"
    "  add --asset ID|--book BOOK.epub [--type 1|2|3] [--style N] [--selected TEXT] [--representative TEXT] [--note TEXT]\n"
    "      [--location LOC] [--range-start N] [--range-end N] [--page P] [--chapter TITLE] [--uuid U]\n"
    "      [--selected-range LOCATION,LENGTH] [--created DATE] [--cache-dir DIR]\n"
    "                                 adds an annotation and prints its UUID; the selected range\n"
    "                                 counts UTF-16 units of the representative text; --book takes\n"
    "                                 the asset ID from the book's unique identifier; --created\n"
    "                                 dates its creation and modification (ISO 8601 with Z or an\n"
    "                                 offset: 2024-03-05T10:20:30Z, 2024-03-05T11:20:30+01:00)\n"
    "  list --asset ID [--include-deleted] [--json]\n"
    "  set --uuid U --field NAME --value V\n"
    "  delete --uuid U                marks the annotation deleted\n"
    "  latest [--json]                the latest modification date per book and overall\n"
    "  bookmarks --asset ID           live page bookmarks\n"
    "  ranges --asset ID              live highlights, underlines and notes\n"
    "  excerpt --uuid U [--limit N] [--json]\n"
    "                                 the selected text in its sentence, and the excerpt that shares\n"
    "                                 quote: the sentence, cut before the selection so that at most\n"
    "                                 N UTF-16 units lead to the selection's end (no cut without\n"
    "                                 --limit). Prints \"context<TAB>TEXT\" and \"excerpt<TAB>TEXT\" with\n"
    "                                 the highlighted part between \u00AB and \u00BB (\"-\": none); --json:\n"
    "                                 {\"contextAware\", \"excerpt\", \"highlightedRange\": [location,\n"
    "                                 length] or null, \"style\"}\n";

using Options = PMArguments;

std::optional<int64_t> integerOption(const Options& options, const std::string& name, std::string& error)
{
    auto text = options.option(name);
    if (!text)
        return std::nullopt;
    int64_t value = 0;
    auto result = std::from_chars(text->data(), text->data() + text->size(), value);
    if (result.ec != std::errc() || result.ptr != text->data() + text->size())
        error = "--" + name + " needs an integer, not '" + *text + "'";
    return value;
}

// "LOCATION,LENGTH", two whole numbers.
std::optional<KCRange> rangeOption(const Options& options, std::string& error)
{
    auto text = options.option("selected-range");
    if (!text)
        return std::nullopt;
    KCRange range;
    const char* end = text->data() + text->size();
    auto location = std::from_chars(text->data(), end, range.location);
    bool parsed = location.ec == std::errc() && location.ptr != end && *location.ptr == ',';
    if (parsed) {
        auto length = std::from_chars(location.ptr + 1, end, range.length);
        parsed = length.ec == std::errc() && length.ptr == end;
    }
    if (!parsed || range.location >= KCNotFound)
        error = "--selected-range needs LOCATION,LENGTH (two whole numbers), not '" + *text + "'";
    return range;
}

nlohmann::ordered_json jsonOf(const TNAnnotation& annotation)
{
    auto object = nlohmann::ordered_json::object();
    for (const auto& attribute : annotation.entity()->attributes())
        object[attribute.name] = KCJSONFromValue(annotation.valueForKey(attribute.name)).value_or(nullptr);
    // An underline is stored as style 0 with its flag; the record answers 6, as the text output does.
    object["annotationStyle"] = annotation.annotationStyle();
    return object;
}

std::string textOf(const TNAnnotation::Text& text)
{
    return text ? KCUTF8FromUTF16(*text) : std::string("-");
}

void printAnnotations(const TNAnnotation::Annotations& annotations, bool json)
{
    if (json) {
        auto array = nlohmann::ordered_json::array();
        for (const auto& annotation : annotations)
            array.push_back(jsonOf(*annotation));
        std::cout << array.dump(2) << '\n';
        return;
    }
    for (const auto& annotation : annotations) {
        std::cout << textOf(annotation->annotationUuid()) << "\ttype " << annotation->annotationType() << "\tstyle " << annotation->annotationStyle()
                  << (annotation->annotationDeleted() ? "\tdeleted" : "") << "\tlocation " << textOf(annotation->annotationLocation())
                  << "\tstart " << annotation->plLocationRangeStart().value_or(0) << '\t' << textOf(annotation->annotationSelectedText())
                  << (annotation->annotationHasNote() ? "\tnote: " + textOf(annotation->annotationNote()) : "") << '\n';
    }
}

// "2024-03-05T10:20:30Z" or with an offset from UTC ("+01:00"); a fraction of a second may follow the seconds.
std::optional<KCDate> isoDate(std::string_view text)
{
    auto number = [text](size_t at, size_t width, int& value) {
        if (at + width > text.size() || !std::all_of(text.begin() + at, text.begin() + at + width, [](char c) { return c >= '0' && c <= '9'; }))
            return false;
        std::from_chars(text.data() + at, text.data() + at + width, value);
        return true;
    };
    auto separator = [text](size_t at, char expected) { return at < text.size() && text[at] == expected; };
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!number(0, 4, year) || !separator(4, '-') || !number(5, 2, month) || !separator(7, '-') || !number(8, 2, day) || !separator(10, 'T')
        || !number(11, 2, hour) || !separator(13, ':') || !number(14, 2, minute) || !separator(16, ':') || !number(17, 2, second))
        return std::nullopt;
    size_t at = 19;
    double fraction = 0;
    if (separator(at, '.')) {
        double scale = 0.1;
        for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at, scale /= 10)
            fraction += (text[at] - '0') * scale;
        if (text[at - 1] == '.')
            return std::nullopt;
    }
    int offset = 0;
    if (separator(at, 'Z')) {
        ++at;
    } else if (separator(at, '+') || separator(at, '-')) {
        int offsetHours = 0, offsetMinutes = 0;
        if (!number(at + 1, 2, offsetHours) || !separator(at + 3, ':') || !number(at + 4, 2, offsetMinutes) || offsetHours > 23 || offsetMinutes > 59)
            return std::nullopt;
        offset = (text[at] == '-' ? -1 : 1) * (offsetHours * 3600 + offsetMinutes * 60);
        at += 6;
    } else {
        return std::nullopt;
    }
    std::chrono::year_month_day date {std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)), std::chrono::day(static_cast<unsigned>(day))};
    if (at != text.size() || !date.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    auto days = std::chrono::sys_days(date).time_since_epoch().count();
    return KCDate::fromTimeIntervalSince1970(double(days) * 86400 + hour * 3600 + minute * 60 + second - offset + fraction);
}

// The book's asset ID when --book names one; an error when --asset names another.
std::optional<std::u16string> assetOption(const Options& options, std::string& error)
{
    auto asset = PMTextOption(options, "asset");
    auto bookPath = options.option("book");
    if (!bookPath)
        return asset;
    auto book = PMOpenBookArgument(*bookPath, options);
    if (!book) {
        error = "could not open the book " + *bookPath;
        return std::nullopt;
    }
    std::u16string identifier = KCUTF16FromUTF8(book->package().uniqueIdentifier);
    if (asset && *asset != identifier)
        error = "--asset " + *options.option("asset") + " is not the asset ID of the book given by --book (" + book->package().uniqueIdentifier + ")";
    return identifier;
}

using Session = PMStoreSession;

int save(Session& session)
{
    return session.store->saveManagedObjectContext(*session.context) ? 0 : PMFail("could not save the annotation store");
}

int add(Session& session, const Options& options)
{
    std::string error;
    auto asset = assetOption(options, error);
    if (!error.empty())
        return PMFail(error);
    if (!asset)
        return PMFail("add needs --asset ID or --book BOOK.epub");
    std::optional<KCDate> created;
    if (auto text = options.option("created"); text && !(created = isoDate(*text)))
        return PMFail("--created needs an ISO 8601 date and time such as 2024-03-05T10:20:30Z or 2024-03-05T11:20:30+01:00, not '" + *text + "'");
    auto type = integerOption(options, "type", error);
    auto style = integerOption(options, "style", error);
    auto start = integerOption(options, "range-start", error);
    auto end = integerOption(options, "range-end", error);
    auto selectedRange = rangeOption(options, error);
    if (!error.empty())
        return PMFail(error);
    if (type && (*type < 1 || *type > 3))
        return PMFail("--type is 1 (bookmark), 2 (range) or 3 (global)");
    auto uuid = PMTextOption(options, "uuid");
    auto annotation = TNAnnotation::insertAnnotationWithAssetID(*asset, std::nullopt, uuid ? TNAnnotation::TextArgument(*uuid) : std::nullopt, session.context.get());
    if (!annotation)
        return PMFail("could not make an annotation");
    if (type)
        annotation->setAnnotationType(static_cast<int32_t>(*type));
    if (style)
        annotation->setAnnotationStyle(static_cast<int32_t>(*style));
    const std::pair<const char*, void (TNAnnotation::*)(TNAnnotation::TextArgument)> texts[] = {
        {"selected", &TNAnnotation::setAnnotationSelectedText}, {"representative", &TNAnnotation::setAnnotationRepresentativeText},
        {"note", &TNAnnotation::setAnnotationNote}, {"location", &TNAnnotation::setAnnotationLocation},
        {"page", &TNAnnotation::setPhysicalPageNumber}, {"chapter", &TNAnnotation::setChapterTitle}};
    for (const auto& [name, setter] : texts) {
        if (auto text = PMTextOption(options, name))
            (annotation.get()->*setter)(*text);
    }
    if (start)
        annotation->setPlLocationRangeStart(*start);
    if (end)
        annotation->setPlLocationRangeEnd(*end);
    if (selectedRange)
        annotation->setAnnotationSelectedTextRange(*selectedRange);
    if (created) {
        // Last, since the setters above stamp the present moment.
        annotation->setAnnotationCreationDate(created);
        annotation->setAnnotationModificationDate(created);
        if (annotation->userModificationDate())
            annotation->setUserModificationDate(created);
    }
    if (int status = save(session))
        return status;
    std::cout << textOf(annotation->annotationUuid()) << '\n';
    return 0;
}

// A store that could not be read is not an empty one: say so and fail.
int readFailure(const KCError& error)
{
    return PMFail("could not read the annotation store: " + error.message);
}

std::shared_ptr<TNAnnotation> annotationNamed(Session& session, const Options& options, KCError* error)
{
    auto uuid = PMTextOption(options, "uuid");
    if (!uuid)
        return nullptr;
    // Any kind, the book's global annotation included, which the record's own
    // look-up without a book leaves out.
    auto annotations = TNAnnotation::annotationsForPredicate(KCPredicate::predicateWithFormat("annotationUuid == %@", KCValue(*uuid)), session.context.get(), error);
    return annotations && !annotations->empty() ? annotations->back() : nullptr;
}

// Fields set from the command line, through the record's own setters so that dates are stamped.
int setField(Session& session, const Options& options)
{
    KCError error;
    auto annotation = annotationNamed(session, options, &error);
    auto field = options.option("field");
    auto value = options.option("value");
    if (!error.domain.empty())
        return readFailure(error);
    if (!annotation)
        return PMFail("set needs the --uuid of an annotation in the store");
    if (!field || !value)
        return PMFail("set needs --field NAME and --value V");
    TNAnnotation& a = *annotation;
    std::u16string text = KCUTF16FromUTF8(*value);
    int64_t number = 0;
    auto parsed = std::from_chars(value->data(), value->data() + value->size(), number);
    bool isNumber = parsed.ec == std::errc() && parsed.ptr == value->data() + value->size();
    bool flag = *value == "1" || *value == "true" || *value == "yes";
    using Setter = std::function<void()>;
    const std::pair<const char*, Setter> textFields[] = {
        {"annotationNote", [&] { a.setAnnotationNote(text); }}, {"annotationLocation", [&] { a.setAnnotationLocation(text); }},
        {"annotationSelectedText", [&] { a.setAnnotationSelectedText(text); }}, {"annotationRepresentativeText", [&] { a.setAnnotationRepresentativeText(text); }},
        {"plStorageUUID", [&] { a.setPlStorageUUID(text); }}, {"physicalPageNumber", [&] { a.setPhysicalPageNumber(text); }},
        {"annotationVersion", [&] { a.setAnnotationVersion(text); }}, {"assetVersion", [&] { a.setAssetVersion(text); }},
        {"chapterTitle", [&] { a.setChapterTitle(text); }},
        {"annotationDeleted", [&] { a.setAnnotationDeleted(flag); }}, {"annotationIsUnderline", [&] { a.setAnnotationIsUnderline(flag); }}};
    const std::pair<const char*, Setter> numberFields[] = {
        {"annotationStyle", [&] { a.setAnnotationStyle(static_cast<int32_t>(number)); }}, {"annotationType", [&] { a.setAnnotationType(static_cast<int32_t>(number)); }},
        {"plLocationRangeStart", [&] { a.setPlLocationRangeStart(number); }}, {"plLocationRangeEnd", [&] { a.setPlLocationRangeEnd(number); }}};
    bool done = false;
    for (const auto& [name, setter] : textFields) {
        if (*field == name) {
            setter();
            done = true;
        }
    }
    for (const auto& [name, setter] : numberFields) {
        if (*field == name) {
            if (!isNumber)
                return PMFail("--value of " + *field + " must be an integer");
            setter();
            done = true;
        }
    }
    if (!done && field->starts_with("futureProofing")) {
        int slot = 0;
        auto result = std::from_chars(field->data() + 14, field->data() + field->size(), slot);
        if (result.ec == std::errc() && result.ptr == field->data() + field->size() && slot >= 1 && slot <= 12) {
            a.setFutureProofing(slot, KCValue(text));
            done = true;
        }
    }
    if (!done)
        return PMFail("unknown or read-only field '" + *field + "'");
    return save(session);
}

int excerpt(Session& session, const Options& options, bool json)
{
    std::string error;
    auto limit = integerOption(options, "limit", error);
    if (!error.empty() || (limit && *limit < 0))
        return PMFail("--limit needs a number of UTF-16 units, 0 or more");
    KCError readError;
    auto annotation = annotationNamed(session, options, &readError);
    if (!readError.domain.empty())
        return readFailure(readError);
    if (!annotation)
        return PMFail("excerpt needs the --uuid of an annotation in the store");
    auto contextAware = TNAnnotation::contextAwareSelectedTextFromAnnotation(*annotation);
    auto styled = TNAnnotation::annotatedAttributedStringForAnnotation(*annotation, limit ? static_cast<uint64_t>(*limit) : UINT64_MAX);
    KCRange highlighted = styled ? styled->annotationStyleRange() : KCRange();
    if (json) {
        auto text = [](const TNAnnotation::Text& t) { return t ? nlohmann::ordered_json(KCUTF8FromUTF16(*t)) : nlohmann::ordered_json(); };
        nlohmann::ordered_json out {{"contextAware", text(contextAware)}, {"excerpt", text(styled ? TNAnnotation::Text(styled->string()) : std::nullopt)},
            {"highlightedRange", highlighted.found() ? nlohmann::ordered_json {highlighted.location, highlighted.length} : nlohmann::ordered_json()},
            {"style", annotation->annotationStyle()}};
        std::cout << out.dump(2) << '\n';
        return 0;
    }
    std::u16string shown = styled ? styled->string() : u"-";
    if (highlighted.found()) {
        shown.insert(highlighted.end(), u"\u00BB");
        shown.insert(highlighted.location, u"\u00AB");
    }
    std::cout << "context\t" << textOf(contextAware) << "\nexcerpt\t" << KCUTF8FromUTF16(shown) << '\n';
    return 0;
}

int latest(Session& session, bool json)
{
    // Both answer "nothing" for an empty store too; only the error tells a failure.
    KCError error;
    auto perBook = TNAnnotation::maxModificationDateForAssetsWithPredicate(TNAnnotation::predicateForAllAnnotationsIncludingDeleted(true), session.context.get(), &error);
    if (!error.domain.empty())
        return readFailure(error);
    auto overall = TNAnnotation::maxModificationDateForAllAnnotationsInManagedObjectContext(session.context.get(), &error);
    if (!error.domain.empty())
        return readFailure(error);
    KCDictionary books = perBook.value_or(KCDictionary());
    if (json) {
        nlohmann::ordered_json out {{"books", KCJSONFromValue(KCValue(books)).value_or(nullptr)}, {"overall", overall ? nlohmann::ordered_json(overall->timeIntervalSinceReferenceDate) : nlohmann::ordered_json()}};
        std::cout << out.dump(2) << '\n';
        return 0;
    }
    for (const auto& [book, date] : books)
        std::cout << book << '\t' << date.description() << '\n';
    std::cout << "overall\t" << (overall ? KCValue(*overall).description() : std::string("-")) << '\n';
    return 0;
}

int runAnnotations(const std::vector<std::string>& args)
{
    Options options(args, {"store", "asset", "type", "style", "selected", "representative", "note", "location", "range-start", "range-end",
                              "page", "chapter", "uuid", "field", "value", "selected-range", "limit", "created", "book", "cache-dir"});
    if (auto failed = PMRejectUnknown(options, {"include-deleted", "json"}))
        return *failed;
    if (options.positionals().size() != 1)
        return PMFail(std::string("annotations needs one command\n") + kUsage);
    auto path = options.option("store");
    if (!path)
        return PMFail("annotations needs --store FILE");
    const std::string& command = options.positionals()[0];
    static const char* const commands[] = {"add", "list", "set", "delete", "latest", "bookmarks", "ranges", "excerpt"};
    if (std::find(std::begin(commands), std::end(commands), command) == std::end(commands))
        return PMFail("unknown annotations command '" + command + "'");
    PMSendLogToStandardError();
    auto session = PMOpenStore(*path);
    if (!session)
        return PMFail("could not open the annotation store " + *path);

    bool json = options.flag("json");
    auto asset = PMTextOption(options, "asset");
    if (command == "add")
        return add(*session, options);
    if (command == "set")
        return setField(*session, options);
    if (command == "delete") {
        KCError error;
        auto annotation = annotationNamed(*session, options, &error);
        if (!error.domain.empty())
            return readFailure(error);
        if (!annotation)
            return PMFail("delete needs the --uuid of an annotation in the store");
        annotation->setAnnotationDeleted(true);
        return save(*session);
    }
    if (command == "latest")
        return latest(*session, json);
    if (command == "excerpt")
        return excerpt(*session, options, json);
    if (!asset)
        return PMFail(command + " needs --asset ID");
    TNAnnotation::Predicate predicate = command == "list" ? TNAnnotation::predicateForAnnotationsWithAssetID(*asset, options.flag("include-deleted"))
        : command == "bookmarks"                        ? TNAnnotation::predicateForPageBookmarksWithAssetID(*asset)
                                                        : TNAnnotation::predicateForRangeAnnotationsWithAssetID(*asset);
    KCError error;
    auto annotations = TNAnnotation::annotationsForPredicate(predicate, session->context.get(), &error);
    if (!annotations)
        return readFailure(error);
    printAnnotations(*annotations, json);
    return 0;
}

PMCommandRegistration registration({"annotations", "add, list and query the annotations of an annotation store", kUsage, runAnnotations});

} // namespace
