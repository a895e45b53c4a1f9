// The hot parts of a backup and a restore, each alone.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "document/msxml.h"
#include "os/file.h"
#include "platform.h"
#include "src/dispUtils.h"
#include "src/propDefault.h"
#include "src/schemaCache.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

const std::u16string plainText = u"C:\\inetpub\\wwwroot\\directory 117, GET, HEAD, POST";
const std::u16string markedText = u"Research & Development <none> \u00E9\u20AC \"quoted\"";

Variant string(std::u16string_view text) { return Variant::ofString(Bstr(text)); }

VARIANT number(std::int32_t value) {
    VARIANT made{};
    made.vt = VT_I4;
    made.lVal = value;
    return made;
}

Variant listOf(std::size_t count) {
    SafeArray array(count);
    for (std::size_t i = 0; i < count; ++i) array[i] = string(plainText).detach();
    return Variant::ofArray(array.detach());
}

/// A stream whose bytes go nowhere.
OutStream& nowhere() {
    static File file("/dev/null");
    return file.stream();
}

void printing(benchmark::State& state) {
    const Bstr name(u"ServerComment");
    for ([[maybe_unused]] auto _ : state) {
        outPrintf(nowhere(), "%*s<%s name=\"%S\" type=\"%d\"%s>", 14, "", "prop", name, 8, "");
        outPrintf(nowhere(), "</%s>\n", "prop");
    }
}
BENCHMARK(printing);

void escaping(benchmark::State& state, const std::u16string& units) {
    const Bstr text(units);
    for ([[maybe_unused]] auto _ : state) (void)printXmlEscaped(nowhere(), text);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(units.size()));
}
BENCHMARK_CAPTURE(escaping, plain, plainText);
BENCHMARK_CAPTURE(escaping, marked, markedText);

void attributes(benchmark::State& state, const std::u16string& units) {
    const Bstr text(units);
    for ([[maybe_unused]] auto _ : state) outPrintf(nowhere(), "%S", XmlAttributeText(text));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(units.size()));
}
BENCHMARK_CAPTURE(attributes, plain, plainText);
BENCHMARK_CAPTURE(attributes, marked, markedText);

void dumping(benchmark::State& state) {
    const Variant value = listOf(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        Variant copy;
        (void)VariantCopy(copy.out(), &value.get());
        (void)defaultPropDump(u"HttpErrors", copy.get(), nowhere(), 5, false);
    }
}
BENCHMARK(dumping)->Arg(1)->Arg(3)->Arg(10000);

void comparing(benchmark::State& state) {
    const Variant a = listOf(static_cast<std::size_t>(state.range(0)));
    const Variant b = listOf(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(cmpVariants(a.get(), b.get()));
}
BENCHMARK(comparing)->Arg(1)->Arg(10000);

void changingIntoText(benchmark::State& state, const VARIANT& value) {
    for ([[maybe_unused]] auto _ : state) {
        Variant text;
        benchmark::DoNotOptimize(VariantChangeType(text.out(), &value, 0, VT_BSTR));
    }
}

void changingFromText(benchmark::State& state, const VARIANT& value) {
    Variant text;
    (void)VariantChangeType(text.out(), &value, 0, VT_BSTR);
    for ([[maybe_unused]] auto _ : state) {
        Variant back;
        benchmark::DoNotOptimize(VariantChangeType(back.out(), &text.get(), 0, value.vt));
    }
}

VARIANT real() {
    VARIANT made{};
    made.vt = VT_R8;
    made.dblVal = 0.1;
    return made;
}
BENCHMARK_CAPTURE(changingIntoText, number, number(-1234567));
BENCHMARK_CAPTURE(changingIntoText, real, real());
BENCHMARK_CAPTURE(changingFromText, number, number(-1234567));
BENCHMARK_CAPTURE(changingFromText, real, real());

/// A backup of `count` properties.
std::u16string backupOf(std::int64_t count) {
    std::u16string text = u"<?xml version=\"1.0\" ?>\n<metabase version=\"1.0.0\">\n";
    for (std::int64_t i = 0; i < count; ++i) {
        text +=
            u"              <prop name=\"ServerComment\" type=\"8\">Research &amp; Development 117</prop>\n";
    }
    return text + u"</metabase>\n";
}

void parsing(benchmark::State& state) {
    const Bstr text(backupOf(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        void* made = nullptr;
        (void)CoCreateInstance(CLSID_DOMDocument, nullptr, CLSCTX_ALL, IXMLDOMDocument::iid, &made);
        const auto document = ComPtr<IXMLDOMDocument>::adopt(static_cast<IXMLDOMDocument*>(made));
        VARIANT_BOOL success = VARIANT_FALSE;
        if (document->loadXML(text, &success) != S_OK) state.SkipWithError("the document is refused");
    }
    state.SetBytesProcessed(state.iterations() * SysStringLen(text));
}
BENCHMARK(parsing)->Arg(100)->Arg(100000);

/// Reads the names of a class, out of the cache each time but the first.
void findingNames(benchmark::State& state) {
    std::ofstream("metabase.txt")
        << "metabase 1\nproperty A string single local \"\"\nclass IIsComputer container deleteops (A) "
           "()\nobject \"localhost\" IIsComputer\n";
    ComPtr<IADs> root;
    if (bindObject(u"IIS://localhost", root) < 0) return state.SkipWithError("there is no metabase");
    SchemaCache cache;
    for ([[maybe_unused]] auto _ : state) {
        std::span<const BSTR> names;
        benchmark::DoNotOptimize(getClassSchema(cache, *root, names));
    }
}
BENCHMARK(findingNames);

} // namespace

int main(int argc, char** argv) {
    char folder[] = "/tmp/skeinKeepBenchXXXXXX";
    if (::mkdtemp(folder) == nullptr || ::chdir(folder) != 0) return 1;
    installPlatform();
    (void)CoInitializeEx(nullptr, 0);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    CoUninitialize();
    ::unlink("metabase.txt");
    ::rmdir(folder);
    return 0;
}
