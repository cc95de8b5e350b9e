// Lists what OpenImageIO serves, as it is installed here: probe_oiio LIST.json TABLE.inc
#include "FormatTrial.h"

#include <OpenImageIO/imageio.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <unistd.h>
#include <vector>

namespace {

using namespace ep;
using namespace ep::oiio;

using Strings = std::vector<std::string>;

constexpr int rank = -10;     // after every plug-in of one format's own
constexpr int mostTried = 5;  // channels; a format that takes five takes any number

/** What is left out, and why. */
const std::map<std::string, std::string>& notServed()
{
    const std::string ownModule = "has a module of its own; OpenImageIO scales 10-, 12- and 14-bit samples";
    const std::string deadly = "damaged files end the process, or never end";
    static const std::map<std::string, std::string> reasons = {
        {"tiff", ownModule},
        {"pnm", ownModule},
        {"raw", ownModule},
        {"null", "is no file"},
        {"term", "is no file"},
        {"fits", "rows come in the wrong order, and the offset of the samples is not applied"},
        {"ffmpeg", "frames are converted to other colours and rounded to 8 bits"},
        {"openvdb", "volumes are no images"},
        {"zfile", "the end of a truncated file is made up without a word"},
        {"cineon", deadly},
        {"dds", deadly},
        {"iff", deadly},
        {"psd", deadly},
        {"sgi", deadly},
        {"softimage", deadly}};
    return reasons;
}

/** True where writing is not even tried. */
bool isAvoided(const std::string& format, int channels)
{
    // The run-length coder of RLA loses samples now and then. WebP images with opacity are read premultiplied.
    return format == "rla" || (format == "webp" && channels > 3);
}

struct Format {
    std::string name;
    Strings suffixes;
    bool reads = false;
    unsigned exact[12] = {};  // by sample type: bit c - 1 stands for c channels
    unsigned lossy[12] = {};
    int mostDescription = 0;

    bool writes() const
    {
        for (int type = 0; type < 12; ++type)
            if (exact[type] || lossy[type])
                return true;
        return false;
    }
};

std::set<std::string> listed(const char* attribute)
{
    std::set<std::string> names;
    for (const auto& name : OIIO::Strutil::splits(OIIO::get_string_attribute(attribute), ","))
        names.insert(name);
    return names;
}

void tryAll(Format& format, const std::string& folder)
{
    const std::string& suffix = format.suffixes.front();
    for (int code = DataTypeInt8; code <= DataTypeUInt64; ++code) {
        const auto type = static_cast<ExImageDataType>(code);
        for (int channels = 1; type != DataTypeComplex && channels <= mostTried; ++channels) {
            if (isAvoided(format.name, channels))
                continue;
            const TrialResult result = tryFormat(format.name, suffix, folder, type, channels);
            (result == TrialResult::Exact ? format.exact : format.lossy)[code] |=
                result == TrialResult::Lost ? 0u : 1u << (channels - 1);
            if (result != TrialResult::Lost && format.mostDescription == 0)
                format.mostDescription = tryDescription(format.name, suffix, folder, type, channels);
        }
    }
}

std::string upperCase(std::string text)
{
    for (char& character : text)
        character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    return text;
}

std::string joined(const Strings& words, const std::string& before, const std::string& between)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : between) + before + word;
    return text;
}

void writeJson(std::ostream& out, const std::vector<Format>& formats)
{
    out << "{\n    \"formats\": [";
    const char* separator = "\n";
    for (const Format& format : formats) {
        Strings types;
        unsigned channels = 0;
        unsigned exactly = 0;
        for (int code = DataTypeInt8; code <= DataTypeUInt64; ++code) {
            const unsigned held = format.exact[code] | format.lossy[code];
            channels |= held;
            exactly |= format.exact[code];
            if (held)
                types.push_back(sampleFacts(code).name);
        }
        Strings counts;
        for (int count = 1; count < mostTried; ++count)
            if (channels >> (count - 1) & 1)
                counts.push_back(std::to_string(count));
        if (channels >> (mostTried - 1) & 1)
            counts.push_back("more");
        const bool keepsMetadata = format.mostDescription > 0;
        const auto truth = [](bool value) { return value ? "true" : "false"; };
        out << separator << "        {\"filter\": \"" << upperCase(format.name) << " image ("
            << joined(format.suffixes, "*.", " ") << ")\", \"rank\": " << rank << ", \"read\": " << truth(format.reads)
            << ", \"write\": " << truth(format.writes()) << ", \"types\": \"" << joined(types, "", " ")
            << "\", \"channels\": \"" << joined(counts, "", ", ")
            << "\", \"mosaic\": " << truth(keepsMetadata && (exactly & 1)) << ", \"metadata\": " << truth(keepsMetadata)
            << "}";
        separator = ",\n";
    }
    out << "\n    ]\n}\n";
}

void writeMasks(std::ostream& out, const unsigned (&masks)[12])
{
    out << '{';
    for (int type = 0; type < 12; ++type)
        out << (type ? ", " : "") << masks[type];
    out << '}';
}

void writeTable(std::ostream& out, const std::vector<Format>& formats)
{
    for (const Format& format : formats) {
        out << "{\"" << format.name << "\", \"" << upperCase(format.name) << " image ("
            << joined(format.suffixes, "*.", " ") << ")\", " << rank << ", " << (format.reads ? "true" : "false")
            << ", ";
        writeMasks(out, format.exact);
        out << ", ";
        writeMasks(out, format.lossy);
        out << ", " << format.mostDescription << "},\n";
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: probe_oiio LIST.json TABLE.inc\n";
        return 2;
    }
    char folder[] = "/tmp/probe_oiio.XXXXXX";
    if (!mkdtemp(folder))
        return 1;
    const std::set<std::string> readers = listed("input_format_list");
    const std::set<std::string> writers = listed("output_format_list");
    std::vector<Format> formats;
    for (const auto& entry : OIIO::get_extension_map()) {
        Format format{entry.first, entry.second, readers.count(entry.first) > 0, {}, {}, 0};
        if (notServed().count(format.name) || format.suffixes.empty())
            continue;
        if (writers.count(format.name))
            tryAll(format, folder);
        if (format.reads || format.writes())
            formats.push_back(format);
    }
    rmdir(folder);
    std::ofstream list(argv[1]);
    std::ofstream table(argv[2]);
    writeJson(list, formats);
    writeTable(table, formats);
    return list.flush() && table.flush() && !formats.empty() ? 0 : 1;
}
