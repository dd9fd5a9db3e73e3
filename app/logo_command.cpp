#include "app/logo_command.h"

#include "platform/image/picture_file.h"
#include "screen/watermark_image.h"

namespace orvane::app {

int setLogo(const std::string& path, std::ostream& out, std::ostream& err) {
    const auto file = screen::watermarkFile();
    if (auto problem = screen::importWatermarkPicture(path, file)) {
        err << "orvane logo: " << *problem << "; the logo is unchanged\n";
        return 1;
    }
    out << file.string() << "\n";
    return 0;
}

int turnLogoOff(std::ostream& out, std::ostream& err) {
    if (auto problem = screen::removeWatermarkImage(screen::watermarkFile())) {
        err << "orvane logo: " << *problem << "\n";
        return 1;
    }
    out << "off\n";
    return 0;
}

int showLogo(std::ostream& out, std::ostream& err) {
    const auto file = screen::watermarkFile();
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        out << "off\n";
        return 0;
    }
    const platform::PictureRead read = platform::readPicture(file);
    if (!read.picture) {
        err << "orvane logo: " << read.problem << "\n";
        return 1;
    }
    out << file.string() << "\t" << read.picture->width << "x" << read.picture->height << "\n";
    return 0;
}

void loadSavedLogo(compositor::ZephrinOpenGLView& view, const screen::SettingsCache& cache,
                   const std::string& prefix, std::ostream& err) {
    std::string problem;
    if (auto logo = screen::loadWatermarkImage(screen::watermarkFile(),
                                               cache.readWatermarkOpacity(), problem)) {
        view.setWatermark(*logo);
    } else if (!problem.empty()) {
        err << prefix << "the logo is left out: " << problem << "\n";
    }
}

}  // namespace orvane::app
