#ifndef QZLIB_FW_STRING_H
#define QZLIB_FW_STRING_H

#include "fw/fw_object.h"

class QZStringCollection;

/// UTF-16 text, always terminated.
///
/// The text lies in one block of type QZEncodingType::UTF16LE with head room for cheap prepending. The
/// terminator counts in the block's size and in no figure that this class returns. Lengths, starts and
/// indices count code units, so that a surrogate pair counts as two; sizes count bytes. The storage never
/// shrinks while the string lives.
///
/// Every operation takes narrow text (`char*`, the machine's narrow page), wide text or a QZString. Strings
/// for short use come from QZStringFactory and are given back with Recycle; a new QZString* or
/// QZStringCollection* that an operation returns belongs to the caller, who gives it back the same way. One
/// thread at a time.
///
/// Growing throws a QZException with QZLastError (4352 when that is 0) when there is no memory; the string is
/// unchanged then.
class QZ_API QZString : public QZObject
{
public:
    static const QZInt64 Type = 0x8130000;

    QZString();
    QZString(const QZString& other);
    /// Null text makes an empty string.
    QZString(QZString* text);
    QZString(const char* text);
    QZString(const QZWChar* text);
    /// @param size  bytes; a null text with another size than 0 and a negative size throw QZException 256
    QZString(const char* text, QZInt64 size);
    QZString(const QZWChar* text, QZInt64 size);
    /// A copy of a raw string block, as GetStructPointer gives it; null makes an empty string.
    explicit QZString(void* block);
    QZString& operator=(const QZString& other);

    /// A damaged block sets QZLastError to 512, calls the assert hook with false and is not freed.
    ~QZString() override;

    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;

    /// The text, with its terminator. Valid until the string grows.
    QZWChar* GetPointer() const;
    /// The raw string block.
    void* GetStructPointer() const { return m_block; }
    /// Bytes of text, without the terminator.
    QZInt64 GetSize() const;
    /// Code units of text.
    QZInt64 GetLength() const;
    /// True when the block's marker and guard are right.
    QZBool Check() const;

    /// Empties the string and restores its head room; the storage stays.
    void Clear();

    /// Replaces the text. A null text empties the string.
    void Set(const char* text);
    void Set(const QZWChar* text);
    /// @param size  bytes; a null text with another size than 0 and a negative size throw QZException 256
    void Set(const char* text, QZInt64 size);
    void Set(const QZWChar* text, QZInt64 size);
    void Set(QZString* text);
    /// The text of a raw string block.
    void Set(void* block);

    /// Exact comparison; a null text equals nothing.
    QZBool Equals(const char* text);
    QZBool Equals(const QZWChar* text);
    QZBool Equals(QZString* text);
    /// With `ignoreCase` the letters A to Z and a to z are the same; all other units compare exactly.
    QZBool Equals(const char* text, QZBool ignoreCase);
    QZBool Equals(const QZWChar* text, QZBool ignoreCase);
    QZBool Equals(QZString* text, QZBool ignoreCase);

    /// The first position of the text, or -1. An empty text is found at the start, a null text nowhere.
    QZInt64 IndexOf(const char* text);
    QZInt64 IndexOf(const QZWChar* text);
    QZInt64 IndexOf(QZString* text);
    QZInt64 IndexOf(QZWChar unit);
    QZInt64 IndexOf(char unit);
    /// The first position at or after `start`.
    /// @throws QZException 256 for a start that is negative or beyond the length
    QZInt64 IndexOf(QZInt64 start, const char* text);
    QZInt64 IndexOf(QZInt64 start, const QZWChar* text);
    QZInt64 IndexOf(QZInt64 start, QZString* text);
    QZInt64 IndexOf(QZInt64 start, QZWChar unit);
    QZInt64 IndexOf(QZInt64 start, char unit);

    QZBool Contains(QZString* text);
    QZBool Contains(const char* text);
    QZBool Contains(const QZWChar* text);
    QZBool Contains(QZWChar unit);
    QZBool Contains(char unit);

    /// An empty text starts and ends every string, a null text none.
    QZBool StartsWith(const char* text);
    QZBool StartsWith(const QZWChar* text);
    QZBool StartsWith(QZString* text);
    QZBool StartsWith(const char* text, QZBool ignoreCase);
    QZBool StartsWith(const QZWChar* text, QZBool ignoreCase);
    QZBool StartsWith(QZString* text, QZBool ignoreCase);
    QZBool EndWith(const char* text);
    QZBool EndWith(const QZWChar* text);
    QZBool EndWith(QZString* text);
    QZBool EndWith(const char* text, QZBool ignoreCase);
    QZBool EndWith(const QZWChar* text, QZBool ignoreCase);
    QZBool EndWith(QZString* text, QZBool ignoreCase);

    /// Appends. A null text does nothing; appending a string to itself doubles it. Numbers are written as
    /// decimal text.
    void Append(QZString* text);
    void Append(const char* text);
    /// @param size  bytes; a null text with another size than 0 and a negative size throw QZException 256
    void Append(const char* text, QZInt64 size);
    void Append(const QZWChar* text);
    void Append(const QZWChar* text, QZInt64 size);
    void Append(int value);
    void Append(unsigned int value);
    void Append(QZInt64 value);
    void Append(QZUInt64 value);
    void Append(float value);
    void Append(double value);

    /// Inserts text at the front, with the rules of Append. A text shorter than the head room moves no unit.
    void Prepend(QZString* text);
    void Prepend(const char* text);
    void Prepend(const char* text, QZInt64 size);
    void Prepend(const QZWChar* text);
    void Prepend(const QZWChar* text, QZInt64 size);
    void Prepend(int value);
    void Prepend(unsigned int value);
    void Prepend(QZInt64 value);
    void Prepend(QZUInt64 value);
    void Prepend(float value);
    void Prepend(double value);

    /// Inserts text before the unit at `index`. A null text does nothing. The index is not tested.
    void Insert(QZInt64 index, QZString* text);
    void Insert(QZInt64 index, QZWChar unit);
    void Insert(QZInt64 index, const char* text);
    void Insert(QZInt64 index, const QZWChar* text);

    /// The unit at `index`, with no bounds test: the terminator reads 0, and so do addresses outside the
    /// string's storage.
    QZWChar CharAt(QZInt64 index) const;

    /// A new string with every `find` replaced by `with`, from the start and without overlaps. A null or
    /// empty `find` gives a copy, a null `with` removes the occurrences.
    QZString* Replace(const char* find, const char* with);
    QZString* Replace(const QZWChar* find, const QZWChar* with);
    QZString* Replace(QZString* find, QZString* with);
    /// The same in place.
    void ReplaceThis(const char* find, const char* with);
    void ReplaceThis(const QZWChar* find, const QZWChar* with);
    void ReplaceThis(QZString* find, QZString* with);

    /// A new string of `length` units from `start` on.
    /// @throws QZException 256 for a negative argument or a range beyond the end
    QZString* SubString(QZInt64 start, QZInt64 length);
    /// The same in place.
    void SubStringThis(QZInt64 start, QZInt64 length);

    /// Upper and lower case of A to Z alone, as a new string and in place.
    QZString* ToUpper();
    QZString* ToLower();
    void ToUpperThis();
    void ToLowerThis();

    /// Removes leading and trailing white space: zero, blank, tab, line feed, vertical tab, form feed,
    /// carriage return.
    /// @throws QZException 512 for a damaged string
    QZString* Trim();
    void TrimThis();

    /// The text before each separator, and last the text after the last one, which may be empty. A separator
    /// 0, a null and an empty separator give one element, a copy.
    QZStringCollection* Split(QZWChar separator);
    QZStringCollection* Split(const char* separator);
    QZStringCollection* Split(const QZWChar* separator);
    QZStringCollection* Split(QZString* separator);

    /// Give objects back to QZStringFactory; a collection with its strings. The variable is cleared.
    static void Recycle(QZStringCollection** collection);
    static void Recycle(QZString** text);

    /// True for a null pointer too.
    static QZBool IsNullOrEmpty(QZString* text);
    static QZBool IsNullOrWhiteSpace(QZString* text);

    /// True for digits and any number of points after an optional "-", and for "0x" and hexadecimal digits of
    /// which the first is not checked. Null and empty text set QZLastError to 256 and give false.
    static QZBool IsNumberic(QZString* text);

private:
    bool Resize(QZInt64 size);
    bool Assign(const void* text, QZInt64 size);
    bool AssignEncoded(QZInt64 encoding, const void* text, QZInt64 size);
    bool AppendBytes(const void* text, QZInt64 size);
    bool PrependBytes(const void* text, QZInt64 size);
    bool InsertUnits(QZInt64 index, const QZWChar* text, QZInt64 count);
    bool Owns(const void* position) const;
    template <typename T>
    void AppendNumber(T value);
    template <typename T>
    void PrependNumber(T value);
    QZString* Replaced(const QZWChar* find, QZInt64 findCount, const QZWChar* with, QZInt64 withCount);
    void ReplaceHere(const QZWChar* find, QZInt64 findCount, const QZWChar* with, QZInt64 withCount);
    QZStringCollection* SplitAt(const QZWChar* separator, QZInt64 count);
    friend class QZEncoding;

    void* m_block;
};

#endif
