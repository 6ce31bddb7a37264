#include "lab/runner/Transcript.h"

#include <stdexcept>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

namespace Kyr::Lab::Runner {

CTranscript::CTranscript(const std::string& path, const std::string& heading) {
    boost::filesystem::create_directories(boost::filesystem::path(path).parent_path());
    file_.open(path, std::ios::binary | std::ios::trunc);
    if (!file_) {
        throw std::runtime_error("cannot write " + path);
    }
    file_ << "# " << heading << std::endl;
}

void CTranscript::Event(const std::string& actor, const TimedLine& line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    file_ << line.time << ' ' << actor << ' ' << line.line.Text();
    if (line.stamp) {
        file_ << " at=" << *line.stamp;
    }
    file_ << std::endl;
}

}  // namespace Kyr::Lab::Runner
