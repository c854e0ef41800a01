// Writes the type library's source, or the manifest for use without registration, from the class
// table; takes the time of the build out of the type library. Runs on the machine that builds.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

#include "com/identifiers.h"
#include "component/class_table.h"

namespace ledgerwick::com {
namespace {

const std::map<MemberType, std::string> kTypes = {
    {MemberType::String, "BSTR"},       {MemberType::Boolean, "VARIANT_BOOL"},
    {MemberType::Integer, "long"},      {MemberType::Variant, "VARIANT"},
    {MemberType::Object, "IDispatch*"}, {MemberType::Connection, "IDispatch*"},
};

const ClassIdentifiers& IdentifiersOf(const ClassInfo& info) {
  const std::string name = ToUtf8(info.name);
  const auto* found = std::find_if(std::begin(kClassIdentifiers), std::end(kClassIdentifiers),
                                   [&](const ClassIdentifiers& ids) { return ids.name == name; });
  if (found == std::end(kClassIdentifiers)) {
    throw std::runtime_error("com/identifiers.h lacks the class " + name);
  }
  return *found;
}

// A type library's help string attribute, or nothing.
std::string HelpAttribute(const ClassInfo& info) {
  if (info.help.empty()) return {};
  return ", helpstring(\"" + ToUtf8(info.help) + "\")";
}

void WriteProperty(std::ostream& out, const MemberInfo& member, int id) {
  const std::string name = ToUtf8(member.name);
  const std::string& type = kTypes.at(member.type);
  const bool is_object = member.type == MemberType::Object || member.type == MemberType::Connection;
  out << "    [id(" << id << "), propget] HRESULT " << name << "([out, retval] " << type
      << "* value);\n"
      << "    [id(" << id << "), " << (is_object ? "propputref" : "propput") << "] HRESULT " << name
      << "([in] " << type << " value);\n";
}

void WriteMethod(std::ostream& out, const MemberInfo& member, int id) {
  out << "    [id(" << id << ")] HRESULT " << ToUtf8(member.name) << "(";
  for (const MemberArgument& argument : member.arguments) {
    out << "[in, out] " << kTypes.at(argument.type) << "* " << ToUtf8(argument.name) << ", ";
  }
  out << "[out, retval] " << kTypes.at(member.type) << "* result);\n";
}

void WriteClass(std::ostream& out, const ClassInfo& info) {
  const ClassIdentifiers& ids = IdentifiersOf(info);
  out << "\n  [odl, uuid(" << ids.interface_id
      << "), version(1.0), hidden, dual, nonextensible, oleautomation]\n  interface _" << ids.name
      << " : IDispatch {\n";
  int id = 0;
  for (const Member which : info.members) {
    const MemberInfo& member = Describe(which);
    ++id;
    member.is_property ? WriteProperty(out, member, id) : WriteMethod(out, member, id);
  }
  out << "  };\n\n  [uuid(" << ids.class_id << "), version(1.0)" << HelpAttribute(info)
      << "]\n  coclass " << ids.name << " {\n    [default] interface _" << ids.name << ";\n  };\n";
}

void WriteIdl(std::ostream& out) {
  out << "import \"oaidl.idl\";\n\n[uuid(" << kLibraryId
      << "), version(2.2), lcid(0x0409), helpstring(\"Ledgerwick For Report\")]\n"
         "library Ledgerwick {\n  importlib(\"stdole2.tlb\");\n";
  for (const ClassInfo& info : Classes()) WriteClass(out, info);
  out << "};\n";
}

void WriteManifest(std::ostream& out, const std::string& architecture) {
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
         "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">\n"
         "  <assemblyIdentity type=\"win32\" name=\"Ledgerwick\" version=\"2.2.0.0\" "
         "processorArchitecture=\""
      << architecture << "\"/>\n  <file name=\"Ledgerwick.dll\">\n";
  for (const ClassInfo& info : Classes()) {
    const ClassIdentifiers& ids = IdentifiersOf(info);
    out << "    <comClass clsid=\"{" << ids.class_id << "}\" progid=\"Ledgerwick." << ids.name
        << "\" threadingModel=\"Apartment\" tlbid=\"{" << kLibraryId << "}\"/>\n";
  }
  out << "    <typelib tlbid=\"{" << kLibraryId
      << "}\" version=\"2.2\" helpdir=\"\" resourceid=\"1\"/>\n  </file>\n";
  for (const ClassInfo& info : Classes()) {
    const ClassIdentifiers& ids = IdentifiersOf(info);
    out << "  <comInterfaceExternalProxyStub name=\"_" << ids.name << "\" iid=\"{"
        << ids.interface_id << "}\" tlbid=\"{" << kLibraryId
        << "}\" proxyStubClsid32=\"{00020424-0000-0000-C000-000000000046}\"/>\n";
  }
  out << "</assembly>\n";
}

// Replaces the time at which widl made the library, as a text and as a number behind it: the same
// sources give the same library.
void RemoveTime(const std::string& path) {
  constexpr std::string_view kMaker = "Created by WIDL";
  constexpr std::string_view kSomeTime = "Thu Jan  1 00:00:00 1970";
  constexpr std::string_view kNumber("\x13\0", 2);  // a VT_UI4 follows
  std::ifstream in(path, std::ios::binary);
  std::string library((std::istreambuf_iterator<char>(in)), {});
  const std::size_t maker = library.find(kMaker);
  const std::size_t end = library.find('\n', maker);
  const std::size_t number = library.find(kNumber, end);
  if (maker == std::string::npos || end - maker < kSomeTime.size() || number > end + 4) {
    throw std::runtime_error(path + " does not say when it was made");
  }
  library.replace(end - kSomeTime.size(), kSomeTime.size(), kSomeTime);
  library.replace(number + kNumber.size(), 4, 4, '\0');
  std::ofstream(path, std::ios::binary) << library << std::flush;
}

int Run(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (argc != 3 || (what != "idl" && what != "amd64" && what != "x86" && what != "undated")) {
    std::cerr << "usage: make_idl idl|amd64|x86 OUTPUT | undated LIBRARY\n";
    return 2;
  }
  if (what == "undated") {
    RemoveTime(argv[2]);
    return 0;
  }
  std::ofstream out(argv[2], std::ios::binary);
  what == "idl" ? WriteIdl(out) : WriteManifest(out, what);
  return out.flush() ? 0 : 1;
}

}  // namespace
}  // namespace ledgerwick::com

int main(int argc, char** argv) {
  try {
    return ledgerwick::com::Run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
