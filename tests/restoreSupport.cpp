#include "tests/restoreSupport.h"

#include <sstream>

namespace {

const std::string schema = R"(metabase 1

property KeyType string single local ""
property Title string single inheritable "none"
property Ports i4 list local []
property ServerState i4 single local 1
property AdminACL opaque single local opaque("acl")
property RelayIpList opaque single local opaque("list")
property MimeMap mime list local mime()
property IPSecurity ipsec single local ipsec(GrantByDefault true, IPGrant [], IPDeny ["1", "2"], DomainGrant [], DomainDeny [])

class IIsComputer container nodeleteops () ()
class IIsWebService container nodeleteops () ()
class IIsWebDirectory container nodeleteops () ()
class IIsWebVirtualDir container deleteops () ()
class IIsWebFile leaf nodeleteops () ()
class IIsFilters container nodeleteops () ()
class IIsMimeMap leaf nodeleteops () ()
class IIsCertMapper leaf nodeleteops () ()
class IISCustomLogModule leaf nodeleteops () ()
class IIsCustomLogModule leaf nodeleteops () ()
class Other leaf nodeleteops () ()
class IIsWebServer container nodeleteops (KeyType) (Title, Ports, ServerState, AdminACL, RelayIpList, MimeMap, IPSecurity)

)";

} // namespace

std::string live(const std::string& objects, const std::string& values) {
    std::istringstream words(objects);
    std::string word;
    words >> word;
    std::string text = schema + "object \"localhost\" " + word + "\n" + values;
    while (words >> word) {
        const std::size_t colon = word.find(':');
        text += "object \"localhost/" + word.substr(0, colon) + "\" " + word.substr(colon + 1) + "\n";
    }
    return text;
}

std::string element(const std::string& name, const std::string& className, const std::string& inside,
                    const std::string& props) {
    return "<obj name=\"" + name + "\" class=\"" + className + "\" path=\"P/" + name + "\"><props>" + props +
           "</props><children>" + inside + "</children></obj>";
}

std::string file(const std::string& children, const std::string& props) {
    return "<metabase version=\"1.0.0\"><obj path=\"IIS://localhost\"><props>" + props +
           "</props><children>" + children + "</children></obj></metabase>";
}

Restored restore(const std::string& metabase, const std::string& xml, std::vector<std::string> options,
                 const Faults& faults) {
    const Folder folder;
    folder.write("metabase.txt", metabase);
    folder.write("f", xml);
    options.insert(options.end(), {"-restore", "-file", "f"});
    const Outcome run = runTool(folder, options, [&] { installFaults(faults); });
    return {run, folder.read("metabase.txt")};
}

std::string created(const std::string& what, const std::string& className) {
    return "CREATE OBJECT: " + what + " (class " + className + ")\n";
}
std::string deleted(const std::string& name, const std::string& className) {
    return "DELETE OBJECT: IIS://localhost/" + name + " (class " + className + ")\n";
}

const std::string allProps = R"(<prop name="KeyType" type="8">other</prop>
<prop name="Title" type="8">new</prop>
<proplist name="Ports"><prop type="3">1</prop><prop type="8">two</prop></proplist>
<prop name="ServerState" type="x">5</prop>
<prop name="AdminACL" type="9"><unsupported/></prop>
<prop name="RelayIpList" type="9"><unsupported/></prop>
<prop name="MimeMap"><mimetype extension=".b" type="b"/><mimetype extension=".a" type="a"/></prop>
<prop name="IPSecurity"><prop name="GrantByDefault" type="11">false</prop><prop name="IPGrant" type="8">9</prop>
<proplist name="IPDeny"/><proplist name="DomainGrant"/><proplist name="DomainDeny"/></prop>)";

const std::string allLines = "Setting IIS://localhost:Title property to new\n"
                             "Setting IIS://localhost:Ports property to SAFEARRAY: 2 elements: 1, two\n"
                             "Setting IIS://localhost:MimeMap property to <array>\n"
                             "Setting IIS://localhost:IPSecurity property to <array>\n";
