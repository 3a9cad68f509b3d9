// The profile reader answers as the Windows reader does: every expected
// answer below was observed from the Windows reader under Wine, and this same
// table runs natively against the POSIX reader and as a Windows program,
// both for a file it reads and for a file whose bytes the caller read.

#include "platform/profile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_paths.h"

namespace {

using Orvik::Platform::ReadProfileValue;
using Orvik::Platform::ReadProfileValueFromText;

enum class Reading { File, Text };

struct ProfileFile {
    const char* name;
    std::string text;
};

struct Query {
    const char* file;  // "missing" is never written
    const char* section;
    const char* key;
    uint32_t result;
    const char* text;  // unused for size 0, where the buffer stays untouched
    const char* defaultValue = "d";
    uint32_t size = 64;
};

class ProfileTest : public ::testing::Test {
protected:
    std::string PathOf(const char* name) const { return scratch_.Framework(std::string(name) + ".ini"); }

    void Write(const std::vector<ProfileFile>& files) const
    {
        for (const ProfileFile& file : files) {
            std::ofstream(scratch_.native() / (std::string(file.name) + ".ini"), std::ios::binary) << file.text;
        }
    }

    // Checks result and text, and that nothing outside the first size bytes
    // of the buffer was written.
    void Run(const std::vector<ProfileFile>& files, const std::vector<Query>& queries, Reading reading) const
    {
        Write(files);
        for (const Query& query : queries) {
            SCOPED_TRACE(::testing::Message() << query.file << " [" << query.section << "] " << query.key << " default "
                                              << (query.defaultValue ? query.defaultValue : "(null)") << " size "
                                              << query.size);
            std::vector<char> memory(query.size + 9, 'X');
            char* buffer = memory.data() + 1;
            EXPECT_EQ(Read(reading, query, buffer), query.result);
            if (query.size > 0) {
                char* end = std::find(buffer, buffer + query.size, '\0');
                ASSERT_NE(end, buffer + query.size) << "not terminated";
                EXPECT_EQ(std::string(buffer, end), query.text);
            }
            EXPECT_EQ(memory.front(), 'X');
            EXPECT_TRUE(std::all_of(buffer + query.size, memory.data() + memory.size(), [](char c) { return c == 'X'; }));
        }
    }

    // The answer through the reader of a file, or from the file's bytes.
    uint32_t Read(Reading reading, const Query& query, char* buffer) const
    {
        const std::string path = PathOf(query.file);
        if (reading == Reading::File) {
            return ReadProfileValue(query.section, query.key, query.defaultValue, buffer, query.size, path.c_str());
        }
        std::optional<std::string> text;
        if (std::ifstream file{scratch_.native() / (std::string(query.file) + ".ini"), std::ios::binary}) {
            text.emplace(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
        return ReadProfileValueFromText(query.section, query.key, query.defaultValue, buffer, query.size, path.c_str(),
                                        text ? text->data() : nullptr, text ? static_cast<uint32_t>(text->size()) : 0);
    }

    // A fresh directory per test: the Windows reader caches files by name.
    Orvik::Testing::ScratchDirectory scratch_{"profile"};
};

const std::vector<ProfileFile> kFiles = {
    // Names match ignoring case and surrounding blanks.
    {"m_basic", "[Main]\r\nName=Value\r\nkey2 = spaced value \r\n\tTabbed\t=\tvalue\t\r\nmy key=inner\r\n"},
    {"m_secblank", "  [ Spaced ]  \r\nk=s\r\n[\tTabbed\t]\r\nk=t\r\n[Inner Space]\r\nk=i\r\n[]\r\nk=empty\r\n"},
    {"x_ws", "[\x0BV\x0C]\r\n\x0Bk\x0C=\x0Bv\x0C\r\nsp=a  b\r\n  lead=l\r\n"},
    {"v_blank", "[S]\r\n   \r\n\r\n=v\r\n"},
    // One pair of enclosing quotes is removed.
    {"q_all", "[Q]\r\ndq=\"quoted\"\r\nsq='single'\r\ndqs=\" spaced inside \"\r\nun=\"unmatched\r\nune=unmatched\"\r\n"
    "mix=\"mixed'\r\nmix2='mixed\"\r\ninner=a\"b\"c\r\ntwo=\"a\" \"b\"\r\ndqsp=  \"x\"  \r\nempty=\"\"\r\none=\"\r\n"
    "sqempty=''\r\nsqone='\r\nnested=\"'n'\"\r\ndouble=\"\"x\"\"\r\nkq\"=v\r\n\"qk\"=qv\r\nmid=\"a\"b\"\r\nbl=  \"  \"  \r\na=\"a\"\r\n"},
    // Comment-like lines are ordinary lines.
    {"c_all", ";pre=1\r\n#hpre=2\r\n[Sec]\r\n;semi=3\r\n#hash=4\r\nkey=value ; not a comment\r\nkey2=value # hash\r\n  ;indented=5\r\n  #hind=6\r\n//sl=7\r\n"},
    {"c_sec", "[;Semi]\r\nk=1\r\n;[Commented]\r\nk=2\r\n[#Hash]\r\nk=3\r\n"},
    // The first section and the first entry of a name answer.
    {"s_noeq", "[S]\r\nlonely\r\nkey=v\r\n  spaced lonely  \r\nafter=a\r\nlonely=x\r\n"},
    {"s_orphan", "orphan=1\r\n[S]\r\nk=v\r\n"},
    {"s_repsec", "[A]\r\nk1=first\r\n[B]\r\nx=1\r\n[a]\r\nk1=second\r\nk2=only second\r\n"},
    {"s_repnull", "[S]\r\nk\r\n[S]\r\nk=second\r\n"},
    {"s_repkey", "[S]\r\nk=first\r\nK=second\r\ne=\r\ne=second\r\n"},
    {"s_eqval", "[S]\r\nk=a=b\r\nk2==v\r\n=novalue\r\nk3 = = x\r\n"},
    {"s_eqonly", "[S]\r\n  =  \r\n=w\r\n"},
    {"s_empty", ""},
    {"s_emptyval", "[S]\r\nk=\r\nk2=   \r\nk3 = \t\r\n"},
    {"s_blanksonly", "[S]\r\n   \r\n\t\r\n\r\nk=v\r\n"},
    // Section headers end at the last bracket.
    {"h_brk", "top=1\r\n[Broken\r\nk=v\r\n[Good]\r\nk=g\r\n[Mid]dle]\r\nk=m\r\n"},
    {"h_after", "[Sec] trailing\r\nk=v\r\n[Two]x\r\nk=w\r\n[Three]]\r\nk=z\r\n[Four] tail]\r\nk=f\r\n"},
    {"h_odd", "[Broken=x\r\nx[S]\r\n[a=b]\r\nk=ab\r\n[T]=v\r\nk=t\r\n[ ]\r\nk=blank\r\n"},
    {"h_emptyfirst", "[]\r\nk=v\r\n[S]\r\nk=s\r\n"},
    {"h_open", "[S]\r\nk=v\r\n[Open\r\n"},
    // Any line end and a byte order mark are accepted.
    {"l_lf", "[S]\nk=lf\nk2=two\n"},
    {"l_cr", "[S]\rk=cr\rk2=two\r"},
    {"l_mixed", "[S]\r\nk=mixed\rk2=cr\nk3=lf\r\n"},
    {"l_nofinal", "[S]\r\nk=last"},
    {"l_bom", "\xEF\xBB\xBF[S]\r\nk=bom\r\n"},
    {"l_bomkey", "\xEF\xBB\xBFk0=x\r\n[S]\r\nk=v\r\n"},
    {"l_lone", "[S]\r\n\r\r\rk=v\r\n\n\nk2=w"},
    // Defaults lose trailing spaces and quotes.
    {"d_file", "[S]\r\nk=v\r\nlone\r\n"},
    // Values are cut to the buffer.
    {"z_long", "[S]\r\nk=0123456789\r\ne=\r\n"},
};

const std::vector<Query> kQueries = {
    // Names match ignoring case and surrounding blanks.
    {"m_basic", "MAIN", "name", 5, "Value"},
    {"m_basic", "main", "KEY2", 12, "spaced value"},
    {"m_basic", "Main", "Tabbed", 5, "value"},
    {"m_basic", "Main", "my key", 5, "inner"},
    {"m_basic", "Main", "mykey", 1, "d"},
    {"m_basic", "Main", " Name ", 5, "Value"},
    {"m_basic", " Main ", "Name", 5, "Value"},
    {"m_basic", "Main", "Nam", 1, "d"},
    {"m_basic", "Main", "Name2", 1, "d"},
    {"m_secblank", "Spaced", "k", 1, "s"},
    {"m_secblank", "Inner Space", "k", 1, "i"},
    {"m_secblank", "", "k", 1, "d"},
    {"x_ws", "V", "k", 1, "v"},
    {"x_ws", "\x0B" "V\x0C", "\x0B" "k\x0C", 1, "v"},
    {"x_ws", "V", "sp", 4, "a  b"},
    {"v_blank", "S", "", 1, "v"},
    // One pair of enclosing quotes is removed.
    {"q_all", "Q", "dq", 6, "quoted"},
    {"q_all", "Q", "sq", 6, "single"},
    {"q_all", "Q", "dqs", 15, " spaced inside "},
    {"q_all", "Q", "un", 10, "\"unmatched"},
    {"q_all", "Q", "une", 10, "unmatched\""},
    {"q_all", "Q", "mix", 7, "\"mixed'"},
    {"q_all", "Q", "two", 5, "a\" \"b"},
    {"q_all", "Q", "dqsp", 1, "x"},
    {"q_all", "Q", "empty", 0, ""},
    {"q_all", "Q", "one", 1, "\""},
    {"q_all", "Q", "nested", 3, "'n'"},
    {"q_all", "Q", "\"qk\"", 2, "qv"},
    {"q_all", "Q", "dq", 0, "", "d", 1},
    {"q_all", "Q", "dq", 5, "quote", "d", 6},
    {"q_all", "Q", "dq", 5, "quote", "d", 7},
    {"q_all", "Q", "dq", 6, "quoted", "d", 8},
    // Comment-like lines are ordinary lines.
    {"c_all", "Sec", ";semi", 1, "3"},
    {"c_all", "Sec", "semi", 1, "d"},
    {"c_all", "Sec", "#hash", 1, "4"},
    {"c_all", "Sec", "key", 21, "value ; not a comment"},
    {"c_all", "Sec", "key2", 12, "value # hash"},
    {"c_all", "Sec", ";indented", 1, "5"},
    {"c_all", "Sec", "//sl", 1, "7"},
    {"c_sec", ";Semi", "k", 1, "1"},
    {"c_sec", "Commented", "k", 1, "d"},
    // The first section and the first entry of a name answer.
    {"s_noeq", "S", "lonely", 1, "d"},
    {"s_noeq", "S", "after", 1, "a"},
    {"s_orphan", "", "orphan", 1, "1"},
    {"s_repsec", "A", "k1", 5, "first"},
    {"s_repsec", "A", "k2", 1, "d"},
    {"s_repnull", "S", "k", 1, "d"},
    {"s_repkey", "S", "k", 5, "first"},
    {"s_repkey", "S", "e", 0, ""},
    {"s_eqval", "S", "k", 3, "a=b"},
    {"s_eqval", "S", "", 7, "novalue"},
    {"s_eqval", "S", "k3", 3, "= x"},
    {"s_eqonly", "S", "", 0, ""},
    {"s_empty", "", "k", 1, "d"},
    {"s_emptyval", "S", "k", 0, ""},
    {"s_emptyval", "S", "k3", 0, ""},
    {"s_blanksonly", "S", "k", 1, "v"},
    // Section headers end at the last bracket.
    {"h_brk", "", "k", 1, "v"},
    {"h_brk", "Mid]dle", "k", 1, "m"},
    {"h_after", "Sec", "k", 1, "v"},
    {"h_odd", "", "[Broken", 1, "x"},
    {"h_odd", "S", "k", 1, "d"},
    {"h_odd", "a=b", "k", 2, "ab"},
    {"h_odd", "T", "k", 1, "t"},
    {"h_emptyfirst", "", "k", 1, "d"},
    {"h_open", "S", "k", 1, "v"},
    // Any line end and a byte order mark are accepted.
    {"l_lf", "S", "k", 2, "lf"},
    {"l_cr", "S", "k2", 3, "two"},
    {"l_mixed", "S", "k2", 2, "cr"},
    {"l_nofinal", "S", "k", 4, "last"},
    {"l_bom", "S", "k", 3, "bom"},
    {"l_bomkey", "", "k0", 1, "x"},
    {"l_lone", "S", "k", 1, "v"},
    // Defaults lose trailing spaces and quotes.
    {"d_file", "S", "no", 0, "", ""},
    {"d_file", "S", "no", 0, "", nullptr},
    {"d_file", "S", "no", 6, "  dflt", "  dflt"},
    {"d_file", "S", "no", 2, " \t", " \t "},
    {"d_file", "S", "no", 1, " ", "  "},
    {"d_file", "S", "no", 1, "q", "\"q\""},
    {"d_file", "S", "no", 5, "  \"q\"", "  \"q\""},
    {"d_file", "S", "no", 1, "q", "\"q\"  "},
    {"d_file", "S", "no", 2, "ab", "\"abc\"", 4},
    {"d_file", "S", "no", 3, "abc", "\"abc\"", 5},
    {"d_file", "S", "no", 2, "ab", "ab  ", 4},
    {"d_file", "S", "no", 6, "defaul", "default", 7},
    {"d_file", "S", "no", 7, "default", "default", 8},
    {"d_file", "X", "k", 4, "dflt", "dflt"},
    {"d_file", "S", "k", 1, "v", "dflt"},
    {"missing", "S", "k", 0, "", nullptr},
    {"missing", "S", "k", 1, "m", "\"m\" "},
    // Values are cut to the buffer.
    {"z_long", "S", "k", 0, "", "d", 1},
    {"z_long", "S", "k", 9, "012345678", "d", 10},
    {"z_long", "S", "k", 10, "0123456789", "d", 11},
    {"z_long", "S", "k", 0, "", "d", 0},
    {"z_long", "S", "no", 0, "", "dflt", 0},
};

TEST_F(ProfileTest, AnswersAsTheWindowsReader) { Run(kFiles, kQueries, Reading::File); }

TEST_F(ProfileTest, AnswersAlikeFromTheBytesOfAFile) { Run(kFiles, kQueries, Reading::Text); }

TEST_F(ProfileTest, HeadersAreFoundAmongManyOtherLines)
{
    // Brackets that open no line, and headers of other sections, on the way.
    std::string text = "a=[Target]\r\n  x [Target]\r\n";
    for (int i = 0; i < 500; ++i) text += "[" + std::to_string(i) + "]\r\nk=" + std::to_string(i) + "\r\n";
    text += "[Tarmac]\r\nk=no\r\n\t [ target ] \r\nk=found\r\n[Target]\r\nk=second\r\n";
    Write({{"h_many", text}});
    char buffer[16];
    EXPECT_EQ(ReadProfileValue("Target", "k", "d", buffer, sizeof buffer, PathOf("h_many").c_str()), 5u);
    EXPECT_STREQ(buffer, "found");
    EXPECT_EQ(ReadProfileValue("499", "k", "d", buffer, sizeof buffer, PathOf("h_many").c_str()), 3u);
    EXPECT_STREQ(buffer, "499");
    EXPECT_EQ(ReadProfileValue("500", "k", "d", buffer, sizeof buffer, PathOf("h_many").c_str()), 1u);
    EXPECT_STREQ(buffer, "d");
}

TEST_F(ProfileTest, HeadersAreFoundWhereverTheyLieInTheFile)
{
    // Each header form at every offset within a block of sixteen bytes,
    // and in the file's last bytes.
    const char* const headers[] = {"[Target]", "[tARGET]", "[\t Target ]", "  [Target]"};
    char buffer[16];
    for (const char* header : headers) {
        for (size_t pad = 0; pad < 34; ++pad) {
            Write({{"h_at", std::string(pad, 'x') + "[Tar]\n" + header + "\nk=v" + std::to_string(pad)}});
            SCOPED_TRACE(std::string(header) + " after " + std::to_string(pad) + " bytes");
            EXPECT_EQ(ReadProfileValue("Target", "k", "d", buffer, sizeof buffer, PathOf("h_at").c_str()),
                      2u + (pad >= 10 ? 1u : 0u));
            EXPECT_EQ(std::string(buffer), "v" + std::to_string(pad));
        }
    }
}

TEST_F(ProfileTest, LongLinesAreReadWhole)
{
    const std::string value = std::string(3000, 'a') + "b";
    Write({{"z_line", "[S]\r\nk=" + value + "\r\nk2=ok\r\n"}});
    std::vector<char> buffer(3003);
    EXPECT_EQ(ReadProfileValue("S", "k", "d", buffer.data(), 3003, PathOf("z_line").c_str()), 3001u);
    EXPECT_EQ(buffer.data(), value);
    EXPECT_EQ(ReadProfileValue("S", "k", "d", buffer.data(), 3001, PathOf("z_line").c_str()), 3000u);
    EXPECT_EQ(buffer.data(), value.substr(0, 3000));
    EXPECT_EQ(ReadProfileValue("S", "k2", "d", buffer.data(), 3001, PathOf("z_line").c_str()), 2u);
    EXPECT_STREQ(buffer.data(), "ok");
}

}  // namespace
