#ifndef QZLIB_DB_SEMANTIC_TYPE_H
#define QZLIB_DB_SEMANTIC_TYPE_H

#include "sys/sys_types.h"

/// The kinds of semantic nodes and the numbers of their fields. docs/tables.md lists what each field holds.
/// Only static members; any thread.

/// The kind codes.
class QZ_API LDTYPE
{
public:
    static const QZInt64 LDTYPEVALUE = 0x1000000;
    static const QZInt64 TLDTYPE = 0x1000100;
    static const QZInt64 BLDTYPE = 0x1000200;
    static const QZInt64 FLDTYPE = 0x1000300;
    static const QZInt64 WLDTYPE = 0x1000400;
};

/// The fields of a text list.
class QZ_API TLDTYPE
{
public:
    static const QZInt64 LDFORMAT = 1;
    static const QZInt64 DATAFORMAT = 2;
    static const QZInt64 DATALEN = 2;
    static const QZInt64 TEXT = 3;
    static const QZInt64 NAME = 4;
    static const QZInt64 STATE = 5;
    static const QZInt64 CREATEDATE = 6;
    static const QZInt64 CHANGEDATE = 7;
};

/// The fields of a data list.
class QZ_API FLDTYPE
{
public:
    static const QZInt64 LDFORMAT = 1;
    static const QZInt64 DATAFORMAT = 2;
    static const QZInt64 DATALEN = 2;
    static const QZInt64 TEXT = 3;
    static const QZInt64 NAME = 4;
    static const QZInt64 STATE = 5;
    static const QZInt64 CREATEDATE = 6;
    static const QZInt64 CHANGEDATE = 7;
};

/// The fields of a bitmap.
class QZ_API BLDTYPE
{
public:
    static const QZInt64 LDFORMAT = 1;
    static const QZInt64 DATAFORMAT = 2;
    static const QZInt64 DATALEN = 2;
    static const QZInt64 BMPDATA = 3;
    static const QZInt64 BMPDATALEN = 4;
    static const QZInt64 TBMPDATA = 5;
    static const QZInt64 TBMPDATALEN = 6;
    static const QZInt64 NAME = 7;
    static const QZInt64 TEXT = 8;
    static const QZInt64 STATE = 9;
    static const QZInt64 INFO = 10;
    static const QZInt64 CREATEDATE = 11;
    static const QZInt64 CHANGEDATE = 12;
};

/// The fields of a wave.
class QZ_API WLDTYPE
{
public:
    static const QZInt64 LDFORMAT = 1;
    static const QZInt64 DATAFORMAT = 2;
    static const QZInt64 DATALEN = 2;
    static const QZInt64 WAVWDATA = 3;
    static const QZInt64 NAME = 4;
    static const QZInt64 TEXT = 5;
    static const QZInt64 STATE = 6;
    static const QZInt64 CREATEDATE = 7;
    static const QZInt64 CHANGEDATE = 8;
};

/// Values of a bitmap's state.
class QZ_API BLDSTATE
{
public:
    static const QZInt64 DEFAULT = 0;
    static const QZInt64 EMPTY = 1;
};

#endif
