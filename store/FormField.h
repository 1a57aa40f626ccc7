#pragma once
// The fourteen fields of the ICS 213 form, in the form's own order: the main window's text
// boxes txtField(0) to txtField(13) and the texts of the printed page are addressed by them.
// The first ten are the message, the last four its reply.
#include <array>
#include <cstddef>
#include <string>

namespace velnor {

enum class Field {
  To,
  ToPos,
  From,
  FromPos,
  Subject,
  Date,
  Message,
  Signature,
  SignaturePos,
  IncidentName,
  Reply,
  ReplySignature,
  ReplyPos,
  ReplyDate,
};
inline constexpr std::size_t kFieldCount = 14;

// The position of a field in the form, which is also its control's index (txtField_<n>).
constexpr std::size_t FieldIndex(Field f) { return static_cast<std::size_t>(f); }

// Every field, the message's and the reply's, in the form's order.
inline constexpr std::array<Field, kFieldCount> kAllFields{
    Field::To,    Field::ToPos,          Field::From,      Field::FromPos,      Field::Subject,
    Field::Date,  Field::Message,        Field::Signature, Field::SignaturePos, Field::IncidentName,
    Field::Reply, Field::ReplySignature, Field::ReplyPos,  Field::ReplyDate};
inline constexpr std::array<Field, 10> kMessageFields{
    Field::To,   Field::ToPos,   Field::From,      Field::FromPos,      Field::Subject,
    Field::Date, Field::Message, Field::Signature, Field::SignaturePos, Field::IncidentName};
inline constexpr std::array<Field, 4> kReplyFields{Field::Reply, Field::ReplySignature, Field::ReplyPos,
                                                   Field::ReplyDate};
static_assert(
    [] {
      for (std::size_t i = 0; i < kFieldCount; ++i) {
        const Field f =
            i < kMessageFields.size() ? kMessageFields[i] : kReplyFields[i - kMessageFields.size()];
        if (kAllFields[i] != f || FieldIndex(f) != i) return false;
      }
      return kMessageFields.size() + kReplyFields.size() == kFieldCount;
    }(),
    "the field lists follow the form's order");

// One text per field, as the form shows or the page prints them.
struct FormTexts {
  std::array<std::string, kFieldCount> byField;

  std::string& operator[](Field f) { return byField[FieldIndex(f)]; }
  const std::string& operator[](Field f) const { return byField[FieldIndex(f)]; }
  bool operator==(const FormTexts&) const = default;
};

}  // namespace velnor
