#include "engine/OptionValue.h"

namespace zun::engine {
namespace {

template <class T>
std::shared_ptr<Variant> convertedVariant(OptionNode const &value) {
    return std::make_shared<VariantType<T>>(convertOption<T>(value));
}

} // namespace

std::shared_ptr<Variant> optionVariant(std::string const &type, OptionNode const &value) {
    if (type == "std::string") return convertedVariant<std::string>(value);
    if (type == "int") return convertedVariant<int>(value);
    if (type == "bool") return convertedVariant<bool>(value);
    if (type == "float") return convertedVariant<float>(value);
    if (type == "zun::Vec2i") return convertedVariant<Vec2i>(value);
    return convertedVariant<OptionNode>(value);
}

} // namespace zun::engine
