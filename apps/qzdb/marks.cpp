#include "marks.h"

#include "common/typed_fields.h"
#include "text.h"

namespace qzdb
{

using qzapp::kMarkLabelField;
using qzapp::kMarkTimeField;
using qzapp::ReadTypedBytes;
using qzapp::ReadTypedNumber;
using qzapp::TypedBytes;
using qzapp::TypedNumber;

namespace
{
/// An address in the form that no label has by accident.
std::string HexNumber(QZInt64 value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}
}  // namespace

std::string MarkText(const Mark& mark)
{
    std::string text = "mark " + std::to_string(mark.address);
    if (!mark.label.empty()) text += " \"" + Visible(mark.label) + "\"";
    if (mark.time > 0) text += ", " + TimeText(mark.time);
    return text;
}

Mark TakeMark(Database& database, const std::string& label)
{
    Mark mark;
    mark.address = database.Channel()->AD_TS();
    if (mark.address <= 0) database.FailRefused();
    mark.point = database.Field(mark.address, QZDatabaseInfo::RD_P);
    // The mark's own fields are no part of the state that it names: going back to it must not remove them.
    LogPause pause(database);
    const QZInt64 ld = database.Field(mark.address, QZDatabaseInfo::RD_N);
    mark.label = label;
    mark.time = QZEnvironment::GetCurrentTimestamp();
    database.PutContent(ld, kMarkLabelField, TypedBytes(label));
    database.PutContent(ld, kMarkTimeField, TypedNumber(mark.time));
    return mark;
}

Log OpenLog(Database& database)
{
    Log log;
    QZInt64* const places[] = {&log.base, &log.marks, &log.current};
    std::size_t n = 0;
    database.Walk(database.Root(QZDatabaseInfo::TREEBSN), [&](QZInt64 record, QZInt64 kind) {
        if (kind != QZDatabaseInfo::DATA_AD) database.FailDamaged(record, "no AD in the list of the log");
        *places[n] = database.Field(record, QZDatabaseInfo::AD_FREE);
        if (database.Kind(*places[n]) != QZDatabaseInfo::TABLE_HD)
            database.FailDamaged(*places[n], "no HD where the log should be");
        return ++n < 3;
    });
    if (n == 0) database.Fail(kExitUsage, "the database was made without rollback and has no log");
    if (n < 3) database.Fail(kExitFaults, "damaged: a part of the log is missing");
    if (!database.RollbackOn()) database.Fail(kExitFaults, "damaged: the engine finds no log");
    return log;
}

Mark RequireMark(const Database& database, const std::vector<Mark>& marks, const std::string& words)
{
    const Mark* byAddress = nullptr;
    const Mark* byLabel = nullptr;
    QZInt64 address = 0;
    const bool number = ParseNumber(words, &address);
    const std::string label = Utf8FromNarrow(words);
    for (const Mark& mark : marks)
    {
        if (number && mark.address == address) byAddress = &mark;
        if (!label.empty() && mark.label == label) byLabel = &mark;
    }
    if (byAddress != nullptr && byLabel != nullptr && byAddress != byLabel)
        throw Failure{kExitUsage, "\"" + Visible(words) + "\" is the address of " + MarkText(*byAddress) +
                                      " and the label of " + MarkText(*byLabel) + "; give " +
                                      HexNumber(byAddress->address) + " or " + HexNumber(byLabel->address)};
    if (byAddress != nullptr) return *byAddress;
    if (byLabel == nullptr) database.Fail(kExitUsage, "no mark \"" + Visible(words) + "\"; see qzdb log");
    return *byLabel;
}

void CheckLabel(const std::string& label, const std::vector<Mark>& marks)
{
    QZInt64 address = 0;
    if (label.empty()) return;
    if (label[0] == '@' && ParseNumber(label.substr(1), &address))
        throw Failure{kExitUsage, "the label \"" + Visible(label) + "\" would name a state of the log"};
    const bool number = ParseNumber(label, &address);
    for (const Mark& mark : marks)
    {
        if (mark.label == label)
            throw Failure{kExitUsage,
                          "there is a mark \"" + Visible(label) + "\" already; choose another label"};
        if (number && mark.address == address)
            throw Failure{kExitUsage, "the label \"" + Visible(label) + "\" is the address of a mark"};
    }
}

void GoToPoint(Database& database, QZInt64 point)
{
    if (!database.Channel()->AB_CB(point))
        database.Fail(kExitAccess, "cannot restore: " + CodeName(database.Channel()->G_LE()));
}

std::vector<Mark> ReadMarks(Database& database, QZInt64 list)
{
    std::vector<Mark> marks;
    database.Walk(list, [&](QZInt64 record, QZInt64 kind) {
        if (kind != QZDatabaseInfo::DATA_RD) database.FailDamaged(record, "no RD in the list of marks");
        Mark mark;
        mark.address = record;
        mark.point = database.Field(record, QZDatabaseInfo::RD_P);
        const QZInt64 ld = database.Field(record, QZDatabaseInfo::RD_N);
        if (database.Kind(ld) != QZDatabaseInfo::DATA_LD)
            database.FailDamaged(record, "a mark without its fields");
        // A mark that another program made has no such fields.
        ReadTypedBytes(database.Content(ld, kMarkLabelField), &mark.label);
        ReadTypedNumber(database.Content(ld, kMarkTimeField), &mark.time);
        marks.push_back(mark);
        return true;
    });
    return marks;
}

}  // namespace qzdb
