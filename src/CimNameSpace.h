#ifndef CIM_NAME_SPACE_H_
#define CIM_NAME_SPACE_H_

namespace cimgate {

// The namespace of every class that a mapping file names.
inline constexpr const char* kCimNameSpace = "root/xcim";

} // namespace cimgate

#endif
