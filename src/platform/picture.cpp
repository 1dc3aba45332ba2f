#include "platform/picture.h"
namespace Picture {
bool Save(const std::string&, Platform::PictureFormat, Platform::Size, const Platform::Drawing&,
          std::string&) {
    return false;
}
}
