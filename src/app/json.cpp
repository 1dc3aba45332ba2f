#include "app/json.h"

#include "base/bytes.h"
#include "trees/fit_types.h"
#include "trees/vennic_tree.h"

#include <cmath>
#include <iostream>

namespace Json {

namespace {

using Conversion::Field;
using Conversion::Kind;

std::string_view TextAt(const std::byte* at, std::size_t size) {
    return Texts::FromField({reinterpret_cast<const char*>(at), size});
}

// Two entries are whole, of the third only half of the name is in the file.
Value NameUnits(const std::byte* at) {
    const auto text = [&](std::size_t offset, std::size_t size) { return String(TextAt(at + offset, size)); };
    Value list = Value::array();
    list.push_back(Value::array({text(0, 32), text(32, 8)}));
    list.push_back(Value::array({text(40, 32), text(72, 8)}));
    list.push_back(Value::array({text(80, 16)}));
    return list;
}

Value FitParams(const std::byte* at, std::size_t bytes) {
    Value list = Value::array();
    for (std::size_t i = 0; i + sizeof(FitParam) <= bytes; i += sizeof(FitParam)) {
        const auto param = Bytes::Load<FitParam>(at + i);
        list.push_back(Value::array({Number(param.Value), static_cast<int>(param.State), param.Store}));
    }
    return list;
}

// One element of a field in RAM, and how far the next one is.
Value Element(const Field& field, const std::byte* at) {
    switch (field.Kind) {
    case Kind::Byte: return std::to_integer<int>(*at);
    case Kind::Int16: return Bytes::Load<std::int16_t>(at);
    case Kind::Word16: return Bytes::Load<std::uint16_t>(at);
    case Kind::Int32:
    case Kind::Check: return Bytes::Load<std::int32_t>(at);
    case Kind::Real32:
    case Kind::Real64: return Number(Bytes::Load<double>(at));
    case Kind::Text: return String(TextAt(at, field.Size));
    case Kind::Bytes: return Texts::Hex({at, field.Size});
    case Kind::NameUnits: return NameUnits(at);
    case Kind::FitParams: return FitParams(at, field.Size);
    case Kind::Group: return Fields(field.Members, at);
    case Kind::Foreign: break;
    }
    return nullptr;
}

std::size_t RamStep(const Field& field) {
    if (field.Kind == Kind::Group) return field.RamSize;
    return field.Kind == Kind::Real32 ? 8 : field.Size;
}

Value FieldValue(const Field& field, const std::byte* ram) {
    const std::byte* const at = ram + field.RamAt;
    if (field.Count == 1) return Element(field, at);
    if (field.Kind == Kind::Group) {
        Value numbered = Value::object();
        for (std::size_t i = 0; i < field.Count; ++i)
            numbered[std::to_string(i + 1)] = Element(field, at + i * RamStep(field));
        return numbered;
    }
    Value list = Value::array();
    for (std::size_t i = 0; i < field.Count; ++i) list.push_back(Element(field, at + i * RamStep(field)));
    return list;
}

}

Value Number(double value) {
    if (std::isnan(value)) return "NAN";
    if (std::isinf(value)) return value > 0 ? "INF" : "-INF";
    return value;
}

Value Numbers(std::span<const float> values) {
    Value list = Value::array();
    list.get_ref<Value::array_t&>().reserve(values.size());
    for (const float value : values) list.push_back(Number(value));
    return list;
}

Value String(std::string_view bytes) {
    return Texts::Utf8(bytes);
}

Value Fields(std::span<const Field> fields, const void* record) {
    const auto* const ram = static_cast<const std::byte*>(record);
    // A single member without a name stands for the whole group.
    if (fields.size() == 1 && fields[0].Name[0] == '\0') return FieldValue(fields[0], ram);
    Value object = Value::object();
    for (const Field& field : fields)
        if (field.Kind != Kind::Foreign) object[field.Name] = FieldValue(field, ram);
    return object;
}

void PrintRecord(const RecordTree::TreeFormat& format, const void* record) {
    const auto level = static_cast<std::size_t>(Tree::Level(record));
    std::string fields = Fields(format.Levels[level].Fields, record).dump();
    fields.pop_back(); // its closing bracket: the children come before it
    std::cout << fields << (fields.size() > 1 ? "," : "") << "\"Children\":[";
    for (int i = 1; i <= Tree::ChildCount(record); ++i) {
        if (i > 1) std::cout << ',';
        PrintRecord(format, Tree::Child(record, i));
    }
    std::cout << "]}";
}

bool Print(const Value& value) {
    std::cout << value << '\n' << std::flush;
    return std::cout.good();
}

}
