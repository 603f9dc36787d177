#ifndef CIM_NAME_SPACE_H_
#define CIM_NAME_SPACE_H_

// The namespace of every class that a mapping file names.
inline constexpr const char* kCimNameSpace = "root/xcim";

#endif
