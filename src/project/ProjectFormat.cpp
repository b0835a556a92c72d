#include "project/ProjectFormat.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Json = nlohmann::ordered_json;

std::string utf8(const QString& text)
{
    return text.toStdString();
}

// The decoder reads the document as a stream of events and builds the ProjectJSON directly,
// without a tree of the whole document in between: a tree costs several hundred bytes per
// frame, a FrameJSON 24. Values under keys it does not know are skipped as they stream by.
class ProjectReader {
public:
    using number_integer_t = Json::number_integer_t;
    using number_unsigned_t = Json::number_unsigned_t;
    using number_float_t = Json::number_float_t;
    using string_t = Json::string_t;
    using binary_t = Json::binary_t;

    ProjectJSON project;
    QString error;
    ProjectDecodeFailure failure = ProjectDecodeFailure::malformed;

    bool null() { return scalar(Scalar(Scalar::kNull)); }
    bool boolean(bool) { return scalar(Scalar(Scalar::kBoolean)); }
    bool number_integer(number_integer_t value)
    {
        Scalar s(Scalar::kInteger);
        s.integer = value;
        s.real = static_cast<double>(value);
        return scalar(s);
    }
    bool number_unsigned(number_unsigned_t value)
    {
        Scalar s(Scalar::kUnsigned);
        s.unsignedInteger = value;
        s.real = static_cast<double>(value);
        return scalar(s);
    }
    bool number_float(number_float_t value, const string_t&)
    {
        Scalar s(Scalar::kReal);
        s.real = value;
        return scalar(s);
    }
    bool string(string_t& value)
    {
        Scalar s(Scalar::kText);
        s.text = &value;
        return scalar(s);
    }
    bool binary(binary_t&) { return scalar(Scalar(Scalar::kBoolean)); }

    bool start_object(std::size_t) { return startContainer(true); }
    bool start_array(std::size_t) { return startContainer(false); }
    bool end_object() { return endContainer(); }
    bool end_array() { return endContainer(); }

    bool key(string_t& name)
    {
        if (m_skipDepth > 0)
            return true;
        m_key = name;
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& exception)
    {
        return fail(QString::fromUtf8(exception.what()));
    }

    // After a successful parse: the required members the document left out.
    bool checkRootComplete()
    {
        for (const char* name :
             {"imagePaths", "frames", "duration", "currentTime", "startSilence", "endSilence"})
            if (!m_rootSeen.contains(name))
                return fail(missing(name));
        return true;
    }

private:
    struct Scalar {
        enum Kind { kNull, kBoolean, kInteger, kUnsigned, kReal, kText };
        explicit Scalar(Kind what)
            : kind(what)
        {}
        Kind kind;
        int64_t integer = 0;
        uint64_t unsignedInteger = 0;
        double real = 0.0;
        const std::string* text = nullptr;

        bool isNumber() const { return kind == kInteger || kind == kUnsigned || kind == kReal; }
    };

    // The required members of a page or frame entry, one bit each, so that checking them
    // costs nothing per frame.
    static unsigned elementBit(std::string_view key)
    {
        if (key == "x")
            return 1;
        if (key == "y")
            return 2;
        if (key == "w")
            return 4;
        if (key == "h")
            return 8;
        if (key == "path")
            return 16;
        return 0;
    }

    // Where the parser stands: the containers that are open, innermost last.
    enum class Level { root, imagePaths, imagePath, frames, frame };

    bool fail(QString message, ProjectDecodeFailure kind = ProjectDecodeFailure::malformed)
    {
        if (error.isEmpty()) {
            error = std::move(message);
            failure = kind;
        }
        return false;
    }

    static QString missing(const char* key)
    {
        return QStringLiteral("hiányzó kulcs: %1").arg(QString::fromUtf8(key));
    }
    static QString needs(const std::string& key, const char* what)
    {
        return QStringLiteral("%1: %2").arg(QString::fromStdString(key), QString::fromUtf8(what));
    }

    // Whole numbers: an integer literal, or a number with no fractional part, within int.
    static std::optional<int> wholeNumber(const Scalar& value)
    {
        constexpr auto low = std::numeric_limits<int>::min();
        constexpr auto high = std::numeric_limits<int>::max();
        if (value.kind == Scalar::kInteger && value.integer >= low && value.integer <= high)
            return static_cast<int>(value.integer);
        if (value.kind == Scalar::kUnsigned && value.unsignedInteger <= uint64_t(high))
            return static_cast<int>(value.unsignedInteger);
        if (value.kind == Scalar::kReal && std::trunc(value.real) == value.real && value.real >= low &&
            value.real <= high)
            return static_cast<int>(value.real);
        return std::nullopt;
    }

    bool readNumber(const Scalar& value, double& into)
    {
        if (!value.isNumber())
            return fail(needs(m_key, "szám kell"));
        into = value.real;
        return true;
    }
    // An optional member that is present with null counts as absent, as it does for the
    // files written by earlier versions of the program.
    bool readOptionalNumber(const Scalar& value, std::optional<double>& into)
    {
        if (value.kind == Scalar::kNull) {
            into.reset();
            return true;
        }
        double number = 0.0;
        if (!readNumber(value, number))
            return false;
        into = number;
        return true;
    }
    bool readInteger(const Scalar& value, int& into)
    {
        const std::optional<int> number = wholeNumber(value);
        if (!number)
            return fail(needs(m_key, "egész szám kell"));
        into = *number;
        return true;
    }
    bool readOptionalInteger(const Scalar& value, std::optional<int>& into)
    {
        if (value.kind == Scalar::kNull) {
            into.reset();
            return true;
        }
        int number = 0;
        if (!readInteger(value, number))
            return false;
        into = number;
        return true;
    }
    bool readString(const Scalar& value, QString& into)
    {
        if (value.kind != Scalar::kText)
            return fail(needs(m_key, "szöveg kell"));
        into = QString::fromStdString(*value.text);
        return true;
    }
    bool readOptionalString(const Scalar& value, std::optional<QString>& into)
    {
        if (value.kind == Scalar::kNull) {
            into.reset();
            return true;
        }
        QString text;
        if (!readString(value, text))
            return false;
        into = std::move(text);
        return true;
    }

    // A plain value: a member of an object, or an element of an array.
    bool scalar(const Scalar& value)
    {
        if (m_skipDepth > 0)
            return true;
        if (m_levels.empty())
            return fail(QStringLiteral("projekt: objektum kell"));
        switch (m_levels.back()) {
        case Level::root:
            return rootMember(value);
        case Level::imagePaths:
            return fail(QStringLiteral("imagePaths: objektum kell"));
        case Level::frames:
            return fail(QStringLiteral("frames: objektum kell"));
        case Level::imagePath:
            return imagePathMember(value);
        case Level::frame:
            return frameMember(value);
        }
        return true;
    }

    bool rootMember(const Scalar& value)
    {
        m_rootSeen.insert(m_key);
        if (m_key == "audioPath")
            return readOptionalString(value, project.audioPath);
        if (m_key == "originalAudioPath")
            return readOptionalString(value, project.originalAudioPath);
        if (m_key == "imagePaths" || m_key == "frames")
            return fail(needs(m_key, "tömb kell"));
        if (m_key == "duration")
            return readNumber(value, project.duration);
        if (m_key == "currentTime")
            return readNumber(value, project.currentTime);
        if (m_key == "startSilence")
            return readNumber(value, project.startSilence);
        if (m_key == "endSilence")
            return readNumber(value, project.endSilence);
        if (m_key == "transitionDuration")
            return readOptionalNumber(value, project.transitionDuration);
        if (m_key == "volumeBoost")
            return readOptionalNumber(value, project.volumeBoost);
        if (m_key == "videoFormat")
            return readOptionalString(value, project.videoFormat);
        if (m_key == "fillColorR")
            return readOptionalNumber(value, project.fillColorR);
        if (m_key == "fillColorG")
            return readOptionalNumber(value, project.fillColorG);
        if (m_key == "fillColorB")
            return readOptionalNumber(value, project.fillColorB);
        if (m_key == "exportResolution")
            return readOptionalString(value, project.exportResolution);
        return true;
    }

    bool imagePathMember(const Scalar& value)
    {
        ImagePathInfo& info = project.imagePaths.back();
        m_elementSeen |= elementBit(m_key);
        if (m_key == "path")
            return readString(value, info.path);
        if (m_key == "pageNumber")
            return readOptionalInteger(value, info.pageNumber);
        if (m_key == "pairedPageNumber")
            return readOptionalInteger(value, info.pairedPageNumber);
        return true;
    }

    bool frameMember(const Scalar& value)
    {
        FrameJSON& frame = project.frames.back();
        m_elementSeen |= elementBit(m_key);
        if (m_key == "imageIndex")
            return readOptionalInteger(value, frame.imageIndex);
        int* field = m_key == "x"   ? &frame.x
                     : m_key == "y" ? &frame.y
                     : m_key == "w" ? &frame.w
                     : m_key == "h" ? &frame.h
                                    : nullptr;
        return field ? readInteger(value, *field) : true;
    }

    bool startContainer(bool isObject)
    {
        if (m_skipDepth > 0) {
            ++m_skipDepth;
            return true;
        }
        if (m_levels.empty()) {
            if (!isObject)
                return fail(QStringLiteral("projekt: objektum kell"));
            m_levels.push_back(Level::root);
            return true;
        }
        switch (m_levels.back()) {
        case Level::root:
            return rootContainer(isObject);
        case Level::imagePaths:
            if (!isObject)
                return fail(QStringLiteral("imagePaths: objektum kell"));
            if (project.imagePaths.size() >= size_t(kMaxProjectPages))
                return fail(QStringLiteral("több mint %1 oldal").arg(kMaxProjectPages),
                            ProjectDecodeFailure::tooLarge);
            project.imagePaths.emplace_back();
            m_elementSeen = 0;
            m_levels.push_back(Level::imagePath);
            return true;
        case Level::frames:
            if (!isObject)
                return fail(QStringLiteral("frames: objektum kell"));
            if (project.frames.size() >= size_t(kMaxProjectFrames))
                return fail(QStringLiteral("több mint %1 frame, legfeljebb 12 óra").arg(kMaxProjectFrames),
                            ProjectDecodeFailure::tooLarge);
            project.frames.emplace_back();
            m_elementSeen = 0;
            m_levels.push_back(Level::frame);
            return true;
        case Level::imagePath:
        case Level::frame:
            return elementContainer();
        }
        return true;
    }

    bool rootContainer(bool isObject)
    {
        const bool list = m_key == "imagePaths" || m_key == "frames";
        if (list) {
            m_rootSeen.insert(m_key);
            if (isObject)
                return fail(needs(m_key, "tömb kell"));
            // A member given twice counts with its last value, as for the other members.
            if (m_key == "imagePaths") {
                project.imagePaths.clear();
                m_levels.push_back(Level::imagePaths);
            } else {
                project.frames.clear();
                m_levels.push_back(Level::frames);
            }
            return true;
        }
        static const std::set<std::string> texts = {"audioPath", "originalAudioPath", "videoFormat",
                                                    "exportResolution"};
        static const std::set<std::string> numbers = {"duration",   "currentTime",        "startSilence",
                                                      "endSilence", "transitionDuration", "volumeBoost",
                                                      "fillColorR", "fillColorG",         "fillColorB"};
        if (texts.contains(m_key))
            return fail(needs(m_key, "szöveg kell"));
        if (numbers.contains(m_key))
            return fail(needs(m_key, "szám kell"));
        m_skipDepth = 1;
        return true;
    }

    // An array or object as a member of a page or frame entry.
    bool elementContainer()
    {
        const bool isFrame = m_levels.back() == Level::frame;
        static const std::set<std::string> frameKeys = {"imageIndex", "x", "y", "w", "h"};
        if (isFrame && frameKeys.contains(m_key))
            return fail(needs(m_key, "egész szám kell"));
        if (!isFrame && m_key == "path")
            return fail(needs(m_key, "szöveg kell"));
        if (!isFrame && (m_key == "pageNumber" || m_key == "pairedPageNumber"))
            return fail(needs(m_key, "egész szám kell"));
        m_skipDepth = 1;
        return true;
    }

    bool endContainer()
    {
        if (m_skipDepth > 0) {
            --m_skipDepth;
            return true;
        }
        const Level level = m_levels.back();
        m_levels.pop_back();
        if (level == Level::imagePath && !(m_elementSeen & elementBit("path")))
            return fail(missing("path"));
        if (level == Level::frame) {
            for (const char* name : {"x", "y", "w", "h"})
                if (!(m_elementSeen & elementBit(name)))
                    return fail(missing(name));
        }
        return true;
    }

    std::vector<Level> m_levels;
    int m_skipDepth = 0;
    std::string m_key;
    std::set<std::string, std::less<>> m_rootSeen;
    unsigned m_elementSeen = 0; // elementBit of the required members met in the open entry
};

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
    putOptional(root, "exportResolution", project.exportResolution);
    // Non-finite numbers have no JSON form; they are written as null, which reads back as
    // absent for optional members and as an error for required ones.
    const std::string text = root.dump(2, ' ', false, Json::error_handler_t::replace);
    return QByteArray::fromStdString(text);
}

std::optional<QString> nonFiniteMember(const ProjectJSON& project)
{
    const std::pair<const char*, std::optional<double>> members[] = {
            {"duration", project.duration},
            {"currentTime", project.currentTime},
            {"startSilence", project.startSilence},
            {"endSilence", project.endSilence},
            {"transitionDuration", project.transitionDuration},
            {"volumeBoost", project.volumeBoost},
            {"fillColorR", project.fillColorR},
            {"fillColorG", project.fillColorG},
            {"fillColorB", project.fillColorB},
    };
    for (const auto& [key, value] : members) {
        if (value && !std::isfinite(*value))
            return QStringLiteral("%1 értéke nem véges szám (%2), JSON-ban nem írható le")
                    .arg(QString::fromLatin1(key), QString::number(*value));
    }
    return std::nullopt;
}

std::optional<ProjectJSON> decodeProject(const QByteArray& bytes, QString* error,
                                         ProjectDecodeFailure* failure)
{
    const auto report = [&](const QString& message, ProjectDecodeFailure kind) {
        if (error)
            *error = message;
        if (failure)
            *failure = kind;
    };
    if (bytes.size() > kMaxProjectFileBytes) {
        report(QStringLiteral("%1 byte, legfeljebb %2 byte").arg(bytes.size()).arg(kMaxProjectFileBytes),
               ProjectDecodeFailure::tooLarge);
        return std::nullopt;
    }
    if (nestingDepth(bytes) > kMaxNestingDepth) {
        report(QStringLiteral("túl mélyen egymásba ágyazott JSON"), ProjectDecodeFailure::malformed);
        return std::nullopt;
    }
    ProjectReader reader;
    if (!Json::sax_parse(bytes.constBegin(), bytes.constEnd(), &reader) || !reader.checkRootComplete()) {
        report(reader.error.isEmpty() ? QStringLiteral("hibás JSON") : reader.error, reader.failure);
        return std::nullopt;
    }
    return std::move(reader.project);
}
