#include "lifepage/LifePage.h"

#include <fstream>
#include <stdexcept>

#include "lifepage/LifeJson.h"
#include "lifepage/PagePieces.h"

namespace Kyr::LifePage {

std::string Page(const std::vector<Life>& lives) {
    std::string page;
    for (const std::string_view piece : PiecesBeforeData()) {
        page += piece;
    }
    page += ToJson(lives);
    for (const std::string_view piece : PiecesBehindData()) {
        page += piece;
    }
    return page;
}

void WritePage(const std::string& path, const std::vector<Life>& lives) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << Page(lives);
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace Kyr::LifePage
