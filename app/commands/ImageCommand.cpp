// pagemoor image: the colour pass and the stretchable drawing of the image utilities, on files.
#include "app/PMCommand.h"
#include "SearchCommandSupport.h"

#include "Utilities/KCFormat.h"
#include "Utilities/KCImageAdjustment.h"
#include "Utilities/KCImageLoading.h"
#include "Utilities/KCStretchableImage.h"

#include <cmath>
#include <filesystem>

namespace {

const char* const kUsage =
    "usage: pagemoor image adjust IN OUT.png [--hue DEG] [--saturation PCT] [--lightness PCT]\n"
    "       pagemoor image stretch IN OUT.png --size WxH --caps LEFT,TOP\n"
    "  adjust   shifts the hue (degrees) and the saturation and lightness (percent,\n"
    "           -100 to 100) of every pixel; each is 0 when not given\n"
    "  stretch  draws IN into a transparent canvas of WxH pixels, keeping the corners\n"
    "           outside the caps and stretching the pixel row and column after them\n"
    "  IN is any image the desktop's loaders read (PNG, JPEG, GIF, BMP, ICO, SVG);\n"
    "  OUT is written as PNG.\n";

// A number option, left as it is when absent. Answers an error message for
// anything but a number from -limit to limit.
std::optional<std::string> parseNumber(const PMArguments& arguments, const std::string& name, int limit, float& value)
{
    auto text = arguments.option(name);
    if (!text)
        return std::nullopt;
    std::optional<double> number = KCDoubleFromString(*text);
    if (!number || !(std::fabs(*number) <= limit))
        return "--" + name + " must be a number from -" + std::to_string(limit) + " to " + std::to_string(limit) + ", not '" + *text + "'";
    value = static_cast<float>(*number);
    return std::nullopt;
}

int adjust(const KCBitmapRef& image, const PMArguments& arguments, KCBitmapRef& result)
{
    float hue = 0, saturation = 0, lightness = 0;
    for (auto problem : {parseNumber(arguments, "hue", 36000, hue), parseNumber(arguments, "saturation", 100, saturation),
             parseNumber(arguments, "lightness", 100, lightness)}) {
        if (problem)
            return PMFail(*problem);
    }
    result = ImageCreateFromImageAdjustingHSL(image, hue, saturation, lightness);
    return result ? 0 : PMFail("the image could not be adjusted");
}

int stretch(const KCBitmapRef& image, const PMArguments& arguments, KCBitmapRef& result)
{
    std::optional<KCSize> size = PMParseSize(arguments.option("size").value_or(""));
    if (!size || std::floor(size->width) != size->width || std::floor(size->height) != size->height)
        return PMFail("--size must be WIDTHxHEIGHT in whole pixels, each from 1 to 8192");
    std::string caps = arguments.option("caps").value_or("");
    size_t comma = caps.find(',');
    std::optional<double> left = KCDoubleFromString(std::string_view(caps).substr(0, comma));
    std::optional<double> top = comma == std::string::npos ? std::nullopt : KCDoubleFromString(std::string_view(caps).substr(comma + 1));
    if (!left || !top || !(*left >= 0 && *left <= 8192) || !(*top >= 0 && *top <= 8192))
        return PMFail("--caps must be LEFT,TOP, two numbers of pixels from 0 to 8192");

    KCCairoSurfacePointer canvas(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(size->width), static_cast<int>(size->height)));
    cairo_t* context = cairo_create(canvas.get());
    ContextDrawStretchableImage(context, image, {{0, 0}, *size}, *left, *top);
    cairo_destroy(context);
    result = KCBitmap::createWithSurface(canvas.get());
    return result ? 0 : PMFail("the canvas could not be drawn");
}

int runImage(const std::vector<std::string>& args)
{
    std::string command = args.empty() ? "" : args[0];
    bool adjusting = command == "adjust";
    if (!adjusting && command != "stretch")
        return PMFail(std::string("image needs a command, adjust or stretch\n") + kUsage);
    PMArguments arguments({args.begin() + 1, args.end()},
        adjusting ? std::set<std::string> {"hue", "saturation", "lightness"} : std::set<std::string> {"size", "caps"});
    if (auto failed = PMRejectUnknown(arguments, {}))
        return *failed;
    if (arguments.positionals().size() != 2)
        return PMFail("image " + command + " needs an input image and an output file");
    const std::string& input = arguments.positionals()[0];
    const std::string& output = arguments.positionals()[1];

    PMSendLogToStandardError();
    KCError error;
    std::error_code ignored;
    std::optional<KCURL> url = KCURL::fileURLWithPath(std::filesystem::absolute(input, ignored).string());
    KCBitmapRef image = url ? ImageCreateWithURL(*url, &error) : nullptr;
    if (!image)
        return PMFail(url ? error.message : "cannot read the image " + input);
    KCBitmapRef result;
    if (int status = adjusting ? adjust(image, arguments, result) : stretch(image, arguments, result))
        return status;
    std::optional<KCData> png = result->PNGData();
    if (!png || !PMWriteFileAtomically(output, *png))
        return PMFail("cannot write " + output);
    std::cout << output << '\n';
    return 0;
}

PMCommandRegistration registration({"image", "adjust the colours of an image, or draw it stretched, into a PNG", kUsage, runImage});

} // namespace
