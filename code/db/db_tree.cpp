#include "db/internal/db_tree.h"

#include "db/db_format.h"
#include "db/internal/db_read.h"
#include "db/internal/db_walk.h"
#include "fw/fw_collection.h"

void TreeCollectRecords(OBJECTS* objects, QZInt64 hd, QZCollection* output)
{
    READ* read = objects->Read();
    QZDbWalk walk;
    QZInt64 record = read->ReadHD(QZDatabaseInfo::ADDRESS_MARK_THIS, hd, QZDatabaseInfo::HD_FIRSTDATA);
    while (record != 0 && walk.Enter(record))
    {
        output->Push(static_cast<QZUInt64>(record));
        record = read->ReadData(QZDatabaseInfo::ADDRESS_MARK_THIS, record, QZDatabaseInfo::DATA_NEXT);
    }
}

void TreeGatherPDs(OBJECTS* objects, QZInt64 hd, QZCollection* output)
{
    READ* read = objects->Read();
    const QZInt64 side = QZDatabaseInfo::ADDRESS_MARK_THIS;
    if (read->ReadHD(side, hd, QZDatabaseInfo::HD_FIRSTDATA) == 0) return;

    QZCollection heads;
    heads.Push(static_cast<QZUInt64>(hd));
    QZInt64 count = 1;
    QZDbWalk walk;
    // The first look is at index -1, which the collection refuses: on a list that is not empty the walk ends
    // here with the collection's exception. Callers rely on getting it.
    for (QZInt64 i = 0; i != count; ++i)
    {
        const QZInt64 head = static_cast<QZInt64>(heads.GetElement(i - 1));
        QZInt64 pd = read->ReadHD(side, head, QZDatabaseInfo::HD_FIRSTDATA);
        while (pd != 0 && walk.Enter(pd))
        {
            output->Push(static_cast<QZUInt64>(pd));
            const QZInt64 child = read->ReadPD(side, pd, QZDatabaseInfo::PD_HD_A);
            if (child != 0)
            {
                heads.Push(static_cast<QZUInt64>(child));
                ++count;
            }
            pd = read->ReadData(side, pd, QZDatabaseInfo::DATA_NEXT);
        }
    }
}
