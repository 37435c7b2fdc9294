#include <cstdio>
#include <memory>

#include <gtest/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ValuePrinting.h"

// What this system writes has to be read by others, and what they write by this system. Python's
// plistlib is an implementation that shares no code with it.

namespace kt {
namespace {

using test::TemporaryFolder;

/// Standard output of a Python program; an error text when it fails.
std::string outputOfPython(const TemporaryFolder& folder, const std::string& program,
                           const std::string& file)
{
    folder.write("program.py", program);
    const std::string command = "PYTHONIOENCODING=utf-8 python3 '" + folder.path("program.py") +
                                "' '" + folder.path(file) + "' 2>&1";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string output;
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;)
        output.append(buffer, count);
    return output;
}

Dictionary everything()
{
    return {{"text", "a\xC3\xA4\xF0\x9F\x98\x80<&>\n"},
            {"empty", ""},
            {"numbers",
             Array{0, -1, 255, 256, 65536, 9223372036854775807, -5000000000, 0.1, 1e300}},
            {"flags", Array{true, false}},
            {"data", Data{std::string("\0\xFFHello", 7)}},
            {"date", dateWithISO8601("2007-12-24T09:00:00Z").value()},
            {"far", dateWithISO8601("4001-01-01T00:00:00Z").value()},
            {"nested", Dictionary{{"list", Array{Array{}, Dictionary{}}}}}};
}

const std::string kEverythingInPython =
    R"({'text': 'aä😀<&>\n', 'empty': '', 'numbers': [0, -1, 255, 256, 65536, 9223372036854775807, -5000000000, 0.1, 1e+300], )"
    R"('flags': [True, False], 'data': b'\x00\xffHello', 'date': datetime.datetime(2007, 12, 24, 9, 0), )"
    R"('far': datetime.datetime(4001, 1, 1, 0, 0), 'nested': {'list': [[], {}]}})";

const std::string kPrint = "import plistlib, sys\nprint(plistlib.load(open(sys.argv[1], 'rb')))\n";

TEST(PropertyListInteroperability, PythonReadsOurXML)
{
    const TemporaryFolder folder;
    folder.write("a.plist", xmlPropertyList(everything()));
    EXPECT_EQ(outputOfPython(folder, kPrint, "a.plist"), kEverythingInPython + "\n");
}

TEST(PropertyListInteroperability, PythonReadsCarriageReturnsFromOurXML)
{
    const TemporaryFolder folder;
    folder.write("a.plist", xmlPropertyList("a\r\nb\rc"));
    EXPECT_EQ(outputOfPython(folder, kPrint, "a.plist"), "a\r\nb\rc\n");
}

TEST(PropertyListInteroperability, PythonReadsOurBinaryForm)
{
    const TemporaryFolder folder;
    folder.write("a.plist", binaryPropertyList(everything()));
    EXPECT_EQ(outputOfPython(folder, kPrint, "a.plist"), kEverythingInPython + "\n");
}

TEST(PropertyListInteroperability, WeReadPythonsXMLAndBinaryForm)
{
    const TemporaryFolder folder;
    for (const char* format : {"FMT_XML", "FMT_BINARY"}) {
        const std::string program =
            std::string("import plistlib, sys, datetime\nvalue = ") + kEverythingInPython +
            "\nplistlib.dump(value, open(sys.argv[1], 'wb'), fmt=plistlib." + format +
            ", sort_keys=False)\n";
        EXPECT_EQ(outputOfPython(folder, program, "a.plist"), "");
        const auto read = propertyListWithData(folder.read("a.plist").value());
        ASSERT_TRUE(read.has_value()) << format;
        EXPECT_EQ(*read, Value(everything())) << format;
        EXPECT_EQ(read->dictionary().begin()->first, "text") << format;
    }
}

/// Follows the references of an archive as the platform's own reader would.
const std::string kUnarchive = R"(
import plistlib, sys
archive = plistlib.load(open(sys.argv[1], 'rb'))
assert archive['$archiver'] == 'NSKeyedArchiver' and archive['$version'] == 100000
objects = archive['$objects']
assert objects[0] == '$null'

def decode(uid):
    assert isinstance(uid, plistlib.UID), uid
    value = objects[uid.data]
    if uid.data == 0:
        return None
    if not isinstance(value, dict):
        return value
    cls = objects[value['$class'].data]
    assert cls['$classes'] == [cls['$classname'], 'NSObject']
    name = cls['$classname']
    if name == 'NSDictionary':
        return dict(zip(map(decode, value['NS.keys']), map(decode, value['NS.objects'])))
    if name == 'NSArray':
        return list(map(decode, value['NS.objects']))
    if name == 'NSDate':
        return ('date', value['NS.time'])
    if name == 'NSURL':
        return ('url', decode(value['NS.base']), decode(value['NS.relative']))
    raise ValueError(name)

print(decode(archive['$top']['root']))
)";

TEST(PropertyListInteroperability, PythonFollowsTheReferencesOfOurArchives)
{
    const TemporaryFolder folder;
    const Dictionary root{{"title", "Arbeit"},
                          {"list",
                           Array{1, 1.5, true, "Arbeit", Dictionary{{"title", Data{"ab"}}}}},
                          {"date", dateWithISO8601("2001-01-02T00:00:00Z").value()},
                          {"url", std::make_shared<URL>("http://host/a.ics")}};
    folder.write("a.archive", archivedDataWithRootObject(root));
    EXPECT_EQ(outputOfPython(folder, kUnarchive, "a.archive"),
              "{'title': 'Arbeit', 'list': [1, 1.5, True, 'Arbeit', {'title': b'ab'}], "
              "'date': ('date', 86400.0), 'url': ('url', None, 'http://host/a.ics')}\n");
}

TEST(PropertyListInteroperability, WeReadArchivesMadeInPython)
{
    const TemporaryFolder folder;
    const std::string program = R"(
import plistlib, sys
uid = plistlib.UID
objects = ['$null', {'$class': uid(2), 'NS.keys': [uid(3)], 'NS.objects': [uid(4)]},
           {'$classname': 'NSMutableDictionary', '$classes': ['NSMutableDictionary', 'NSDictionary', 'NSObject']},
           'key', {'$class': uid(5), 'NS.objects': [uid(3), uid(6)]},
           {'$classname': 'NSMutableArray', '$classes': ['NSMutableArray', 'NSArray', 'NSObject']}, 7]
archive = {'$version': 100000, '$archiver': 'NSKeyedArchiver', '$top': {'root': uid(1)}, '$objects': objects}
plistlib.dump(archive, open(sys.argv[1], 'wb'), fmt=plistlib.FMT_BINARY)
)";
    EXPECT_EQ(outputOfPython(folder, program, "a.archive"), "");
    EXPECT_EQ(unarchiveObjectWithData(folder.read("a.archive").value()),
              Value(Dictionary{{"key", Array{"key", 7}}}));
}

}  // namespace
}  // namespace kt
