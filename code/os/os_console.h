#ifndef QZLIB_OS_CONSOLE_H
#define QZLIB_OS_CONSOLE_H

#include "fw/fw_object.h"

class QZCollection;
class QZData;
class QZDataTable;
class QZException;
class QZKeyValueCollection;
class QZString;

/// Reads lines from the standard input and writes values to the standard output: text unchanged, bytes as
/// hexadecimal digits, an exception with its traces, collections element by element, a table in a box.
///
/// For a null pointer nothing is written. One thread at a time; QZConsoleT serves several.
class QZ_API QZConsole : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF000;

    QZConsole();
    ~QZConsole() override;
    QZInt64 GetType() override;

    /// The next line without its line end in a new string; an empty string at the end of the input.
    virtual QZString* Read();

    /// Reads a line and converts it; 0 for an empty one.
    virtual QZInt64 ReadNumDec();

    virtual void Write(QZData* data);
    virtual void Write(const char* text);
    virtual void Write(const QZWChar* text);
    virtual void Write(QZString* text);
    virtual void Write(QZInt64 value);
    /// The message and the two traces, each on a line.
    virtual void Write(QZException* exception);
    /// The elements as signed decimals, each on a line.
    virtual void Write(QZCollection* collection);
    /// A line "key: value" for each entry: a string as its text, bytes as hexadecimal digits.
    virtual void Write(QZKeyValueCollection* collection);
    /// The column names and the rows in a box of U+2500 to U+253C. A column is as wide as its widest cell; a
    /// wide character takes two places.
    virtual void Write(QZDataTable* table);
    virtual void NewLine();
    static void Recycle(QZString** text);
};

/// A console for several threads: each text and number is written whole, also when other threads write at the
/// same time.
class QZ_API QZConsoleT : public QZConsole
{
public:
    static const QZInt64 Type = 0x81FFC00;

    QZConsoleT();
    ~QZConsoleT() override;
    QZInt64 GetType() override;

    using QZConsole::Write;
    void Write(const char* text) override;
    void Write(const QZWChar* text) override;
    void Write(QZString* text) override;
    void Write(QZInt64 value) override;
};

#endif
