#include "project/ProjectFormat.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Json = nlohmann::ordered_json;

// Raised inside the decoder for a missing key or a wrong type; caught at the top.
struct DecodeError {
    QString message;
};

std::string utf8(const QString& text)
{
    return text.toStdString();
}

const Json& member(const Json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end())
        throw DecodeError{QStringLiteral("hiányzó kulcs: %1").arg(QString::fromUtf8(key))};
    return *found;
}

void requireObject(const Json& value, const char* what)
{
    if (!value.is_object())
        throw DecodeError{QStringLiteral("%1: objektum kell").arg(QString::fromUtf8(what))};
}

double number(const Json& value, const char* key)
{
    if (!value.is_number())
        throw DecodeError{QStringLiteral("%1: szám kell").arg(QString::fromUtf8(key))};
    return value.get<double>();
}

// Whole numbers: an integer literal, or a number with no fractional part, within int.
int integer(const Json& value, const char* key)
{
    const auto wrong = [key] {
        return DecodeError{QStringLiteral("%1: egész szám kell").arg(QString::fromUtf8(key))};
    };
    if (value.is_number_integer()) {
        const bool fits = value.is_number_unsigned()
                                  ? value.get<uint64_t>() <= uint64_t(std::numeric_limits<int>::max())
                                  : value.get<int64_t>() >= std::numeric_limits<int>::min() &&
                                            value.get<int64_t>() <= std::numeric_limits<int>::max();
        if (!fits)
            throw wrong();
        return static_cast<int>(value.get<int64_t>());
    }
    if (value.is_number_float()) {
        const double d = value.get<double>();
        if (std::trunc(d) == d && d >= std::numeric_limits<int>::min() &&
            d <= std::numeric_limits<int>::max())
            return static_cast<int>(d);
    }
    throw wrong();
}

QString string(const Json& value, const char* key)
{
    if (!value.is_string())
        throw DecodeError{QStringLiteral("%1: szöveg kell").arg(QString::fromUtf8(key))};
    return QString::fromStdString(value.get<std::string>());
}

const Json& array(const Json& value, const char* key)
{
    if (!value.is_array())
        throw DecodeError{QStringLiteral("%1: tömb kell").arg(QString::fromUtf8(key))};
    return value;
}

// An optional key that is present with null counts as absent, as it does for the files
// written by earlier versions of the program.
template <typename Read>
auto optionalMember(const Json& object, const char* key, Read read)
        -> std::optional<decltype(read(object, key))>
{
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return std::nullopt;
    return read(*found, key);
}

ImagePathInfo decodeImagePath(const Json& value)
{
    requireObject(value, "imagePaths");
    return ImagePathInfo{string(member(value, "path"), "path"), optionalMember(value, "pageNumber", integer),
                         optionalMember(value, "pairedPageNumber", integer)};
}

FrameJSON decodeFrame(const Json& value)
{
    requireObject(value, "frames");
    FrameJSON frame;
    frame.imageIndex = optionalMember(value, "imageIndex", integer);
    frame.x = integer(member(value, "x"), "x");
    frame.y = integer(member(value, "y"), "y");
    frame.w = integer(member(value, "w"), "w");
    frame.h = integer(member(value, "h"), "h");
    return frame;
}

ProjectJSON decode(const Json& root)
{
    requireObject(root, "projekt");
    ProjectJSON project;
    project.audioPath = optionalMember(root, "audioPath", string);
    project.originalAudioPath = optionalMember(root, "originalAudioPath", string);
    for (const Json& item : array(member(root, "imagePaths"), "imagePaths"))
        project.imagePaths.push_back(decodeImagePath(item));
    const Json& frames = array(member(root, "frames"), "frames");
    project.frames.reserve(frames.size());
    for (const Json& item : frames)
        project.frames.push_back(decodeFrame(item));
    project.duration = number(member(root, "duration"), "duration");
    project.currentTime = number(member(root, "currentTime"), "currentTime");
    project.startSilence = number(member(root, "startSilence"), "startSilence");
    project.endSilence = number(member(root, "endSilence"), "endSilence");
    project.transitionDuration = optionalMember(root, "transitionDuration", number);
    project.volumeBoost = optionalMember(root, "volumeBoost", number);
    project.videoFormat = optionalMember(root, "videoFormat", string);
    project.fillColorR = optionalMember(root, "fillColorR", number);
    project.fillColorG = optionalMember(root, "fillColorG", number);
    project.fillColorB = optionalMember(root, "fillColorB", number);
    return project;
}

template <typename T>
void putOptional(Json& object, const char* key, const std::optional<T>& value)
{
    if (!value)
        return;
    if constexpr (std::is_same_v<T, QString>)
        object[key] = utf8(*value);
    else
        object[key] = *value;
}

// Project files nest three levels deep; a document nested far deeper is not one of ours.
// Refusing it before parsing keeps hostile input from costing time and stack.
constexpr int kMaxNestingDepth = 64;

int nestingDepth(const QByteArray& bytes)
{
    int depth = 0;
    int deepest = 0;
    bool inString = false;
    bool escaped = false;
    for (const char c : bytes) {
        if (inString) {
            if (escaped)
                escaped = false;
            else if (c == '\\')
                escaped = true;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return deepest;
}

} // namespace

QByteArray encodeProject(const ProjectJSON& project)
{
    Json root = Json::object();
    putOptional(root, "audioPath", project.audioPath);
    putOptional(root, "originalAudioPath", project.originalAudioPath);
    Json images = Json::array();
    for (const ImagePathInfo& image : project.imagePaths) {
        Json item = Json::object();
        item["path"] = utf8(image.path);
        putOptional(item, "pageNumber", image.pageNumber);
        putOptional(item, "pairedPageNumber", image.pairedPageNumber);
        images.push_back(std::move(item));
    }
    root["imagePaths"] = std::move(images);
    Json frames = Json::array();
    for (const FrameJSON& frame : project.frames) {
        Json item = Json::object();
        putOptional(item, "imageIndex", frame.imageIndex);
        item["x"] = frame.x;
        item["y"] = frame.y;
        item["w"] = frame.w;
        item["h"] = frame.h;
        frames.push_back(std::move(item));
    }
    root["frames"] = std::move(frames);
    root["duration"] = project.duration;
    root["currentTime"] = project.currentTime;
    root["startSilence"] = project.startSilence;
    root["endSilence"] = project.endSilence;
    putOptional(root, "transitionDuration", project.transitionDuration);
    putOptional(root, "volumeBoost", project.volumeBoost);
    putOptional(root, "videoFormat", project.videoFormat);
    putOptional(root, "fillColorR", project.fillColorR);
    putOptional(root, "fillColorG", project.fillColorG);
    putOptional(root, "fillColorB", project.fillColorB);
    // Non-finite numbers have no JSON form; they are written as null, which reads back as
    // absent for optional members and as an error for required ones.
    const std::string text = root.dump(2, ' ', false, Json::error_handler_t::replace);
    return QByteArray::fromStdString(text);
}

std::optional<ProjectJSON> decodeProject(const QByteArray& bytes, QString* error)
{
    try {
        if (nestingDepth(bytes) > kMaxNestingDepth)
            throw DecodeError{QStringLiteral("túl mélyen egymásba ágyazott JSON")};
        return decode(Json::parse(bytes.constBegin(), bytes.constEnd()));
    } catch (const DecodeError& failure) {
        if (error)
            *error = failure.message;
    } catch (const Json::exception& failure) {
        if (error)
            *error = QString::fromUtf8(failure.what());
    }
    return std::nullopt;
}
