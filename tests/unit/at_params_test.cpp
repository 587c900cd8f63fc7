#include "vek_pal/at_params.h"

#include <gtest/gtest.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "vek_pal/memory.h"

namespace {

using List = std::unique_ptr<ATCmdParams, decltype(&ATCmdParams_Destroy)>;

List parse(const char* text, uint32_t count, uint32_t features = 0, uint32_t* consumed = nullptr) {
  ATCmdParams* list = nullptr;
  const int result = ATCmdParams_CreateFromStrWFeatures(text, count, &list, consumed, features);
  EXPECT_EQ(result, list != nullptr ? 1 : 0);
  return {list, &ATCmdParams_Destroy};
}

std::vector<uint32_t> types(const ATCmdParams* list) {
  std::vector<uint32_t> found;
  for (uint32_t i = 0; list != nullptr && i < list->count; i++) found.push_back(list->params[i].type);
  return found;
}

using Types = std::vector<uint32_t>;

}  // namespace

TEST(AtParams, ReadsAListOfExactlyTheCountAskedFor) {
  const struct {
    const char* text;
    uint32_t count;
    Types types;  // none: the parse fails
    uint32_t consumed;
  } rows[] = {
      {nullptr, 2, {8, 8}, 0},   {"", 2, {8, 8}, 0},          {"", 0, {}, 0},
      {"1,,3", 3, {1, 8, 1}, 4}, {"1,", 2, {1, 8}, 2},        {",", 2, {8, 8}, 1},
      {"1", 3, {1, 8, 8}, 1},    {"1,2,3", 2, {}, 0},         {"1,", 1, {}, 0},
      {"1", 0, {}, 0},           {"12a", 1, {}, 0},           {"12a,3", 2, {}, 0},
      {"1 ,2", 2, {}, 0},        {" 1, -2", 2, {1, 9}, 6},    {"  1", 1, {}, 0},
      {"1\r\n", 1, {}, 0},       {"\"a,b\",2", 2, {3, 1}, 7}, {"\"a\"b", 1, {}, 0},
      {"\"a", 1, {}, 0},         {" \"a\"", 1, {}, 0},        {"word", 1, {}, 0},
      {"-", 1, {}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text != nullptr ? row.text : "(null)");
    uint32_t consumed = 99;
    const List list = parse(row.text, row.count, 0, &consumed);
    EXPECT_EQ(list != nullptr, !row.types.empty() || (row.count == 0 && row.text[0] == '\0'));
    EXPECT_EQ(types(list.get()), row.types);
    EXPECT_EQ(consumed, row.consumed);
  }
}

TEST(AtParams, TellsNumbersApartByTheirSize) {
  const struct {
    const char* text;
    uint32_t type;
    uint16_t value16;
    uint32_t value32;
    int32_t signed16, signed32;
  } rows[] = {
      {"0", 1, 0, 0, 0, 0},
      {"+7", 1, 7, 7, 7, 7},
      {"65533", 1, 65533, 65533, 65533, 65533},
      {"65534", 2, 65534, 65534, 65534, 65534},
      {"65535", 2, 65534, 65535, 32766, 65535},
      {"2147483646", 2, 65534, 2147483646u, 32766, 2147483646},
      {"2147483647", 2, 65534, 2147483647u, 32766, 2147483646},
      {"4294967293", 2, 65534, 4294967293u, 32766, 2147483646},
      {"4294967294", 4, 65534, 4294967294u, 32766, 2147483646},
      {"4294967296", 4, 65534, 4294967294u, 32766, 2147483646},
      {"99999999999999999999999", 4, 65534, 4294967294u, 32766, 2147483646},
      {"-1", 9, 65534, 1, -1, -1},
      {"-65535", 9, 65534, 65535, -65535, -65535},
      {"-65536", 10, 65534, 65536, 32766, -65536},
      {"-2147483647", 10, 65534, 2147483647u, 32766, -2147483647},
      {"-2147483648", 4, 65534, 4294967294u, 32766, 2147483646},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(parse(row.text, 1) == nullptr, row.type == 4) << "too large is a bare string, which is refused";
    const List list = parse(row.text, 1, 1);
    ASSERT_NE(list, nullptr);
    const ATCmdParam& param = list->params[0];
    EXPECT_EQ(param.type, row.type);
    EXPECT_EQ(param.value16, row.value16);
    EXPECT_EQ(param.value32, row.value32);
    EXPECT_EQ(param.signed16, row.signed16);
    EXPECT_EQ(param.signed32, row.signed32);
    EXPECT_EQ(param.limit, 2147483647);
  }
}

TEST(AtParams, TellsStringsApartByTheirCharacters) {
  const struct {
    const char* text;
    uint32_t type;
    const char* content;
  } rows[] = {
      {"\"\"", 3, ""},
      {"\"hello, world\"", 3, "hello, world"},
      {"\"+4912345\"", 7, "+4912345"},
      {"\"0\"", 7, "0"},
      {"\"+\"", 7, "+"},
      {"\"1+2\"", 3, "1+2"},
      {"\"+1.2.3.4\"", 3, "+1.2.3.4"},
      {"\"+a:b\"", 3, "+a:b"},
      {"\"192.168.0.1\"", 5, "192.168.0.1"},
      {"\"1.2.3\"", 3, "1.2.3"},
      {"\"1.2.3.4.5\"", 3, "1.2.3.4.5"},
      {"\"...\"", 5, "..."},
      {"\"1.2.3.x\"", 3, "1.2.3.x"},
      {"\"fe80:0:0:0:0:0:0:1\"", 6, "fe80:0:0:0:0:0:0:1"},
      {"\"fe80::1\"", 3, "fe80::1"},
      {"\"0:0:0:0:0:0:0:1.2.3.4\"", 5, "0:0:0:0:0:0:0:1.2.3.4"},
      {"\"beef\"", 3, "beef"},
      {" bare\"word\" ", 4, " bare\"word\" "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const List list = parse(row.text, 1, 1);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->params[0].type, row.type);
    ASSERT_NE(list->params[0].text, nullptr);
    EXPECT_STREQ(list->params[0].text, row.content);
    EXPECT_EQ(list->params[0].text_size, strlen(row.content) + 1);
  }
}

TEST(AtParams, NumberGettersTakeTheirTypesAndKnowAnOmittedOne) {
  const List list = parse("7,65534,2147483647,-7,-65536,\"7\",", 7);
  ASSERT_NE(list, nullptr);
  const struct {
    uint32_t index;
    int required;
    int64_t uint16, int16, uint32, int32;  // -1: refused
  } rows[] = {
      {0, 1, 7, 7, 7, 7},
      {1, 1, -1, -1, 65534, 65534},
      {2, 1, -1, -1, 2147483647, -1},
      {3, 1, -1, -7, -1, -7},
      {4, 1, -1, -1, -1, -65536},
      {5, 1, -1, -1, -1, -1},
      {6, 1, -1, -1, -1, -1},
      {6, 0, 65535, 32767, 4294967295, 2147483647},
      {7, 0, -1, -1, -1, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.index);
    uint16_t u16 = 1;
    uint32_t u32 = 1;
    int32_t i16 = 1;
    int32_t i32 = 1;
    EXPECT_EQ(ATCmdParams_GetUINT16(list.get(), row.index, row.required, &u16) ? int64_t{u16} : -1, row.uint16);
    EXPECT_EQ(ATCmdParams_GetSignedINT16(list.get(), row.index, row.required, &i16) ? i16 : -1, row.int16);
    EXPECT_EQ(ATCmdParams_GetUINT32(list.get(), row.index, row.required, &u32) ? int64_t{u32} : -1, row.uint32);
    EXPECT_EQ(ATCmdParams_GetSignedINT32(list.get(), row.index, row.required, &i32) ? i32 : -1, row.int32);
  }
}

TEST(AtParams, StringGettersBoundWhatTheyCopy) {
  const List list = parse("\"abc\",,5", 3);
  ASSERT_NE(list, nullptr);
  char buffer[4] = "zzz";
  EXPECT_EQ(ATCmdParams_GetString(list.get(), 0, 1, 3, buffer), 0);
  EXPECT_EQ(ATCmdParams_GetString(list.get(), 0, 1, 0, buffer), 0);
  EXPECT_EQ(ATCmdParams_GetString(list.get(), 1, 1, 4, buffer), 0);
  EXPECT_EQ(ATCmdParams_GetString(list.get(), 2, 0, 4, buffer), 0);
  EXPECT_STREQ(buffer, "zzz");
  EXPECT_EQ(ATCmdParams_GetString(list.get(), 0, 1, 4, buffer), 1);
  EXPECT_STREQ(buffer, "abc");
  EXPECT_EQ(ATCmdParams_GetString(list.get(), 1, 0, 4, buffer), 1);
  EXPECT_STREQ(buffer, "");

  char* copy = nullptr;
  EXPECT_EQ(ATCmdParams_GetStringWithAlloc(list.get(), 2, 0, &copy), 0);
  EXPECT_EQ(ATCmdParams_GetStringWithAlloc(list.get(), 1, 1, &copy), 0);
  for (const auto& [index, expected] : {std::pair(0u, "abc"), std::pair(1u, "")}) {
    ASSERT_EQ(ATCmdParams_GetStringWithAlloc(list.get(), index, 0, &copy), 1);
    EXPECT_STREQ(copy, expected);
    vek_pal_free(copy);
  }
}

TEST(AtParams, ReadsHexadecimalText) {
  const struct {
    const char* text;
    int64_t value;  // -1: refused
  } rows[] = {{"0x0", 0},
              {"0XfF", 255},
              {"0xFFFFFFFF", 4294967295},
              {"0x123456789", -1},
              {"0x", -1},
              {"1x12", -1},
              {"0x1g", -1},
              {"0x1 ", -1},
              {"12", -1},
              {"", -1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    uint32_t value = 0;
    EXPECT_EQ(ConvertHexStringToHex(row.text, &value) ? int64_t{value} : -1, row.value);
    const List list = parse(("\"" + std::string(row.text) + "\"").c_str(), 1);
    EXPECT_EQ(ATCmdParams_GetStringAndConvertToHex(list.get(), 0, 256, &value) ? int64_t{value} : -1, row.value);
    EXPECT_EQ(ATCmdParams_GetStringAndConvertToHex(list.get(), 0, static_cast<uint32_t>(strlen(row.text)), &value), 0);
  }
}

TEST(AtParams, TelephoneNumbersCarryATypeOfAddress) {
  const std::string long_plus = "\"+" + std::string(80, '1') + "\"";
  const std::string long_plain = "\"" + std::string(81, '1') + "\"";
  const std::string too_long = "\"+" + std::string(81, '1') + "\"";
  const struct {
    std::string text;
    uint32_t count;
    int type;  // -1: refused
  } rows[] = {
      {"\"123\"", 1, 129},     {"\"+123\"", 1, 145}, {"\"1+3\"", 2, 145},   {"\"+123\",129", 2, 129},
      {"\"123\",145", 2, 145}, {"\"123\",1", 2, -1}, {"\"123\",", 2, 129},  {"\"123\",\"145\"", 2, -1},
      {"123,129", 2, -1},      {",145", 2, 145},     {"", 2, 129},          {long_plus, 1, 145},
      {long_plain, 1, -1},     {too_long, 1, -1},    {"\"123\",-1", 2, -1}, {"\"123\",65534", 2, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const List list = parse(row.text.c_str(), row.count);
    ASSERT_NE(list, nullptr);
    char number[82];
    uint8_t type = 0;
    EXPECT_EQ(ATCmdParams_GetTelNumAndType(list.get(), 0, 0, number, &type) ? type : -1, row.type);
  }
  const List list = parse("\"123\",1", 2);
  char number[82];
  EXPECT_EQ(ATCmdParams_GetTelNumAndType(list.get(), 0, 1, number, nullptr), 1) << "without a type nobody looks at it";
  EXPECT_STREQ(number, "123");
}

TEST(AtParams, TheCharacterSetDecidesWhereAPlusIs) {
  const struct {
    const char* number;
    uint32_t charset;
    uint8_t type;
  } rows[] = {{"+1", 1, 145}, {"+1", 2, 129},   {"+1", 0, 129},    {"002B0031", 2, 145}, {"02B0", 2, 129},
              {"2b", 2, 129}, {"002B", 1, 129}, {nullptr, 2, 129}, {"", 2, 129},         {"002", 2, 129}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.number != nullptr ? row.number : "(null)");
    EXPECT_EQ(ATUtil_GetTypeOfAddressOfPhoneNumberwithCSCS(row.number, row.charset), row.type);
  }
  const List list = parse("\"002B0031\"", 1);
  char number[82];
  uint8_t type = 0;
  EXPECT_EQ(ATCmdParams_GetTelNumAndTypewithCSCS(list.get(), 0, 1, number, &type, 2), 1);
  EXPECT_EQ(type, 145);
}

TEST(AtParams, ARunOfNumbersKeepsTheirIndices) {
  const List list = parse("\"a\",10,11,,13", 5);
  ASSERT_NE(list, nullptr);
  uint16_t values[5] = {};
  uint32_t found = 9;
  EXPECT_EQ(ATCmdParams_GetUINT16ValsArray(list.get(), 1, 3, values, &found), 0) << "one of them is omitted";
  EXPECT_EQ(ATCmdParams_GetUINT16ValsArray(list.get(), 4, 2, values, &found), 0) << "past the end";
  EXPECT_EQ(ATCmdParams_GetUINT16ValsArray(list.get(), 1, 0xFFFFFFFF, values, &found), 0);
  EXPECT_EQ(values[1], 0);
  EXPECT_EQ(ATCmdParams_GetUINT16ValsArray(list.get(), 1, 2, values, &found), 1);
  EXPECT_EQ(found, 2u);
  EXPECT_EQ(values[0], 0);
  EXPECT_EQ(values[1], 10);
  EXPECT_EQ(values[2], 11);
}

TEST(AtParams, CountsWhatIsThere) {
  const List list = parse("1,,\"x\"", 4);
  EXPECT_EQ(ATCmdParams_GetNumActualParams(list.get()), 2u);
  EXPECT_EQ(ATCmdParams_GetNumActualParams(nullptr), 0u);
  const List fresh(ATCmdParams_Create(3), &ATCmdParams_Destroy);
  EXPECT_EQ(types(fresh.get()), (Types{0, 0, 0}));
  EXPECT_EQ(ATCmdParams_GetNumActualParams(fresh.get()), 0u);
  uint32_t type = 9;
  EXPECT_EQ(ATCmdParams_GetParamType(list.get(), 1, &type), 1);
  EXPECT_EQ(type, 8u);
  EXPECT_EQ(ATCmdParams_GetParamType(list.get(), 4, &type), 0);

  EXPECT_EQ(ATCmdParams_GetTotalNumParams(nullptr), 0u);
  EXPECT_EQ(ATCmdParams_GetTotalNumParams(""), 1u);
  EXPECT_EQ(ATCmdParams_GetTotalNumParams("1,\"a,b\","), 4u);
  EXPECT_EQ(ATCmdParams_Create(0xFFFFFFFF), nullptr);
  EXPECT_EQ(parse("1", 0xFFFFFFF0), nullptr);
}

TEST(AtParseUtil, ReadsOneNumber) {
  const struct {
    const char* text;
    int64_t plain;  // ParseOneUINT32; -1: refused
    bool is_signed;
    int negative;
    int32_t value;
    uint32_t magnitude, consumed;
  } rows[] = {
      {"12,3", 12, true, 0, 12, 12, 2},
      {"-12", -1, true, 1, -12, 12, 3},
      {"+12x", -1, true, 0, 12, 12, 3},
      {"-0", -1, true, 1, 0, 0, 2},
      {"3000000000", 3000000000, true, 0, 2147483647, 3000000000u, 10},
      {"4294967293", 4294967293, true, 0, 2147483647, 4294967293u, 10},
      {"4294967295", 4294967295, false, 0, 2147483647, 4294967295u, 0},
      {"4294967296", -1, false, 0, 2147483647, 4294967295u, 0},
      {"-2147483648", -1, false, 0, 2147483647, 4294967295u, 0},
      {"", -1, false, 0, 2147483647, 4294967295u, 0},
      {" 1", -1, false, 0, 2147483647, 4294967295u, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    uint32_t plain = 0;
    uint32_t consumed = 9;
    EXPECT_EQ(ATParseUtil_ParseOneUINT32(row.text, &plain, &consumed) ? int64_t{plain} : -1, row.plain);
    int negative = 9;
    int32_t value = 0;
    uint32_t magnitude = 0;
    EXPECT_EQ(ATParseUtil_ParseOneSignedINT32(row.text, &negative, &value, &magnitude, &consumed), row.is_signed);
    EXPECT_EQ(negative, row.negative);
    EXPECT_EQ(value, row.value);
    EXPECT_EQ(magnitude, row.magnitude);
    EXPECT_EQ(consumed, row.consumed);
  }
}

TEST(AtParseUtil, WhiteSpaceIsSpaceTabAndLineEnds) {
  EXPECT_EQ(ATParseUtil_ParseAndVerifyNoParams(" \t\r\n"), 1);
  EXPECT_EQ(ATParseUtil_ParseAndVerifyNoParams(""), 1);
  EXPECT_EQ(ATParseUtil_ParseAndVerifyNoParams("\v"), 0);
  EXPECT_EQ(ATParseUtil_ParseAndVerifyNoParams(" 1"), 0);
  const char* text = " \tx y";
  ATParseUtil_ParseWhiteSpace(&text);
  EXPECT_STREQ(text, "x y");
}
