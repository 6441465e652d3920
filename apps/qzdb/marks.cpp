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
