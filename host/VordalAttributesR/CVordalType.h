// The variant value of a tree node, its concrete kinds, and the factory that makes values on the heap.
#pragma once

#include <VordalBaseR/CCompOffset.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// What a value is. A value is readable through the getters of its own kind alone.
enum class VORDAL_API_ENUM VordalKind
{
    None,       ///< the empty value
    Int,        ///< signed, 32 bits
    UInt,       ///< unsigned, 32 bits
    Int64,      ///< signed, 64 bits
    Bool,       ///< true or false
    Double,     ///< any double, NaN and the infinities among them
    Pair,       ///< two doubles
    DataInfo,   ///< a reference to a data item
    String,     ///< a wide text
    IntList,    ///< signed integers of 32 bits
    DoubleList, ///< doubles
    Offset      ///< three lengths in metres
};

/// A value; an object of this very class is the empty value, which every getter fails on.
/// Values never change after construction, so that copies of a tree share them and any number of threads may read one.
/// A getter writes its out argument and reports success only when the value is of that kind; otherwise the argument
/// is left untouched, so callers preset it. No getter converts: an integer read as a double fails.
/// A value on the heap belongs to whoever made it until a node takes it (`CAttributeMap`, `ReplaceValue`).
class VORDAL_API CVordalType
{
public:
    constexpr CVordalType() = default;
    /// Of what every value has; the kinds copy their content.
    constexpr CVordalType(CVordalType const&) noexcept {}
    CVordalType& operator=(CVordalType const&) = delete;

    // In the host's slot order. Each gives non-zero when the value has the kind.
    virtual ~CVordalType() = default;
    /// Of VordalKind::Int.
    virtual int GetInt(int&) const { return 0; }
    /// Of VordalKind::UInt.
    virtual int GetUInt(unsigned int&) const { return 0; }
    /// Of VordalKind::Int64.
    virtual int GetInt64(std::int64_t&) const { return 0; }
    /// Of VordalKind::Bool.
    virtual int GetBool(bool&) const { return 0; }
    /// Of VordalKind::Double.
    virtual int GetDouble(double&) const { return 0; }
    /// Of VordalKind::Pair; both or neither are written.
    virtual int GetPair(double& /*first*/, double& /*second*/) const { return 0; }
    /// Of VordalKind::DataInfo.
    virtual int GetDataInfo(CDataInfo&) const { return 0; }
    /// Of VordalKind::String.
    virtual int GetString(CString&) const { return 0; }
    /// Of VordalKind::IntList.
    virtual int GetIntList(std::vector<int>&) const { return 0; }
    /// Of VordalKind::DoubleList.
    virtual int GetDoubleList(std::vector<double>&) const { return 0; }
    // Beyond the slots that plug-ins were built against: new ones go to the end.
    /// Of VordalKind::Offset.
    virtual int GetOffset(CCompOffset&) const { return 0; }
    /// A new heap value equal to this one; the caller owns it.
    virtual CVordalType* Clone() const;
    /// What it is, and by that which getter succeeds.
    virtual VordalKind Kind() const;
    /// Same kind and same content. Doubles are compared by their bits: a NaN equals itself, -0.0 is not 0.0.
    virtual bool IsSame(CVordalType const& other) const;
    /// For people: UTF-8, doubles in the shortest form that reads back to the same number, texts in quotes with
    /// control characters escaped, whatever the locale. The empty value gives "none".
    virtual std::string ToText() const;

    /// The value, when it is of the argument's kind; otherwise false, and the argument untouched.
    bool Get(int& value) const { return IsNotMissing() && GetInt(value) != 0; }
    bool Get(unsigned int& value) const { return IsNotMissing() && GetUInt(value) != 0; }
    bool Get(std::int64_t& value) const { return IsNotMissing() && GetInt64(value) != 0; }
    bool Get(bool& value) const { return IsNotMissing() && GetBool(value) != 0; }
    bool Get(double& value) const { return IsNotMissing() && GetDouble(value) != 0; }
    bool Get(double& first, double& second) const { return IsNotMissing() && GetPair(first, second) != 0; }
    bool Get(CDataInfo& value) const { return IsNotMissing() && GetDataInfo(value) != 0; }
    bool Get(CString& value) const { return IsNotMissing() && GetString(value) != 0; }
    bool Get(CCompOffset& value) const { return IsNotMissing() && GetOffset(value) != 0; }
    bool Get(std::vector<int>& value) const { return IsNotMissing() && GetIntList(value) != 0; }
    bool Get(std::vector<double>& value) const { return IsNotMissing() && GetDoubleList(value) != 0; }

    /// Whether it is the empty value.
    bool IsEmpty() const { return Kind() == VordalKind::None; }
    /// The empty value that failed look-ups refer to; it lives as long as the host library.
    static CVordalType const& Empty() { return s_empty; }

private:
    friend struct AttributeNode;

    /// Spares the value of a failed look-up, the one met most often, its virtual call.
    bool IsNotMissing() const { return this != &s_empty; }

    static CVordalType s_empty;
    /// Nodes that share the value; only values on the heap that a node has taken are counted.
    mutable std::atomic<std::uint32_t> m_references{1};
};

/// What the classes of all kinds have alike. `Class` is the one that derives from it.
template <typename Class, VordalKind ItsKind>
class VORDAL_API CVordalKindOf : public CVordalType
{
public:
    /// See CVordalType.
    CVordalType* Clone() const final;
    /// See CVordalType.
    VordalKind Kind() const final;
    /// See CVordalType.
    bool IsSame(CVordalType const& other) const final;
    /// See CVordalType.
    std::string ToText() const final;
};

/// A signed 32-bit integer.
class VORDAL_API CVordalInt final : public CVordalKindOf<CVordalInt, VordalKind::Int>
{
public:
    /// Of that number.
    explicit CVordalInt(int value) : m_value(value) {}
    int GetInt(int& value) const override;

private:
    friend CVordalKindOf;
    int m_value;
};

/// An unsigned 32-bit integer.
class VORDAL_API CVordalUInt final : public CVordalKindOf<CVordalUInt, VordalKind::UInt>
{
public:
    /// Of that number.
    explicit CVordalUInt(unsigned int value) : m_value(value) {}
    int GetUInt(unsigned int& value) const override;

private:
    friend CVordalKindOf;
    unsigned int m_value;
};

/// A signed 64-bit integer.
class VORDAL_API CVordalInt64 final : public CVordalKindOf<CVordalInt64, VordalKind::Int64>
{
public:
    /// Of that number.
    explicit CVordalInt64(std::int64_t value) : m_value(value) {}
    int GetInt64(std::int64_t& value) const override;

private:
    friend CVordalKindOf;
    std::int64_t m_value;
};

/// A truth value.
class VORDAL_API CVordalBool final : public CVordalKindOf<CVordalBool, VordalKind::Bool>
{
public:
    /// Of that truth.
    explicit CVordalBool(bool value) : m_value(value) {}
    int GetBool(bool& value) const override;

private:
    friend CVordalKindOf;
    bool m_value;
};

/// A double; NaN and the infinities are values like any other.
class VORDAL_API CVordalDouble final : public CVordalKindOf<CVordalDouble, VordalKind::Double>
{
public:
    /// Of that number.
    explicit CVordalDouble(double value) : m_value(value) {}
    int GetDouble(double& value) const override;

private:
    friend CVordalKindOf;
    double m_value;
};

/// A pair of doubles.
class VORDAL_API CVordalDouble2D final : public CVordalKindOf<CVordalDouble2D, VordalKind::Pair>
{
public:
    /// Of these two.
    CVordalDouble2D(double first, double second) : m_value(first, second) {}
    int GetPair(double& first, double& second) const override;

private:
    friend CVordalKindOf;
    std::pair<double, double> m_value;
};

/// A reference to a data item.
class VORDAL_API CVordalDataInfo final : public CVordalKindOf<CVordalDataInfo, VordalKind::DataInfo>
{
public:
    /// Of that reference.
    explicit CVordalDataInfo(CDataInfo const& value) : m_value(value) {}
    /// The two numbers narrow the reference to an item; 65535 for both means the whole stream.
    CVordalDataInfo(CDataId const& id, unsigned short first, unsigned short second);
    int GetDataInfo(CDataInfo& value) const override;

private:
    friend CVordalKindOf;
    CDataInfo m_value;
};

/// A wide text. (`CVordalString` is the host's splitter of delimited texts, not a value.)
class VORDAL_API CVordalText final : public CVordalKindOf<CVordalText, VordalKind::String>
{
public:
    /// Of that text.
    explicit CVordalText(CString value) : m_value(std::move(value)) {}
    int GetString(CString& value) const override;

private:
    friend CVordalKindOf;
    CString m_value;
};

/// A list of signed 32-bit integers; it may be empty.
class VORDAL_API CVordalIntList final : public CVordalKindOf<CVordalIntList, VordalKind::IntList>
{
public:
    /// Of that list.
    explicit CVordalIntList(std::vector<int> value) : m_value(std::move(value)) {}
    int GetIntList(std::vector<int>& value) const override;

private:
    friend CVordalKindOf;
    std::vector<int> m_value;
};

/// A list of doubles; it may be empty.
class VORDAL_API CVordalDoubleList final : public CVordalKindOf<CVordalDoubleList, VordalKind::DoubleList>
{
public:
    /// Of that list.
    explicit CVordalDoubleList(std::vector<double> value) : m_value(std::move(value)) {}
    int GetDoubleList(std::vector<double>& value) const override;

private:
    friend CVordalKindOf;
    std::vector<double> m_value;
};

/// A three-axis offset, in metres.
class VORDAL_API CVordalOffset final : public CVordalKindOf<CVordalOffset, VordalKind::Offset>
{
public:
    /// Of that offset.
    explicit CVordalOffset(CCompOffset const& value) : m_value(value) {}
    int GetOffset(CCompOffset& value) const override;

private:
    friend CVordalKindOf;
    CCompOffset m_value;
};

/// Makes values on the heap, each of the kind that its argument has. The caller owns the result and usually hands it
/// to a node at once. Any thread; nothing fails but for want of memory.
class VORDAL_API VordalTypeCreator
{
public:
    /// A value of the argument's kind.
    static CVordalType* MakeValue(int value);
    static CVordalType* MakeValue(unsigned int value);
    static CVordalType* MakeValue(std::int64_t value);
    static CVordalType* MakeValue(bool value);
    static CVordalType* MakeValue(double value);
    static CVordalType* MakeValue(std::pair<double, double> const& value);
    static CVordalType* MakeValue(std::vector<int> const& value);
    static CVordalType* MakeValue(std::vector<double> const& value);
    static CVordalType* MakeValue(CString const& value);
    static CVordalType* MakeValue(CCompOffset const& value);
    static CVordalType* MakeValue(CDataInfo const& value);
    /// A text from UTF-8; each byte that is not part of a valid sequence becomes U+FFFD. Null gives the empty text.
    static CVordalType* MakeValue(char const* value);
    /// A text; null gives the empty one.
    static CVordalType* MakeValue(wchar_t const* value);
    /// Any other pointer would quietly become `true`.
    template <typename T>
    static CVordalType* MakeValue(T const*) = delete;
};
