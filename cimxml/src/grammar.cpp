#include "grammar.h"

namespace cimxml {
namespace {

using Attribute = AttributeKind;

constexpr AttributeRule kName[] = {{"NAME", Attribute::Name}};
constexpr AttributeRule kClassName[] = {{"CLASSNAME", Attribute::Name}};
constexpr AttributeRule kTypedName[] = {{"NAME", Attribute::Name}, {"TYPE", Attribute::Type}};
constexpr AttributeRule kArrayName[] = {
    {"NAME", Attribute::Name}, {"TYPE", Attribute::Type}, {"ARRAYSIZE", Attribute::Number}};
constexpr AttributeRule kMethodName[] = {{"NAME", Attribute::Name}, {"TYPE", Attribute::AnyType}};
constexpr AttributeRule kParameterName[] = {{"NAME", Attribute::Name},
                                            {"PARAMTYPE", Attribute::Parameter}};
constexpr AttributeRule kReturnType[] = {{"PARAMTYPE", Attribute::Parameter}};
constexpr AttributeRule kKeyValue[] = {{"VALUETYPE", Attribute::KeyType},
                                       {"TYPE", Attribute::AnyType}};
constexpr AttributeRule kErrorCode[] = {{"CODE", Attribute::Text}};
constexpr AttributeRule kVersions[] = {{"CIMVERSION", Attribute::Text},
                                       {"DTDVERSION", Attribute::Text}};
constexpr AttributeRule kMessage[] = {{"ID", Attribute::Text},
                                      {"PROTOCOLVERSION", Attribute::Text}};

constexpr bool kRepeated = true;

} // namespace

// The rules refer to each other in circles, so their parts have internal linkage and they do not.
extern const ElementRule kReferenceRule;
extern const ElementRule kInstanceNameRule;

namespace {

constexpr ElementRule kHost = {.name = "HOST", .hasText = true};
constexpr ElementRule kNameSpace = {.name = "NAMESPACE", .attributes = kName};
constexpr ElementRule kValue = {.name = "VALUE", .hasText = true};
constexpr ElementRule kNullValue = {.name = "VALUE.NULL"};
constexpr ElementRule kKeyValueRule = {
    .name = "KEYVALUE", .attributes = kKeyValue, .hasText = true};
constexpr ElementRule kClassNameRule = {.name = "CLASSNAME", .attributes = kName};

constexpr ChildRule kLocalNameSpacePathChildren[] = {{&kNameSpace, kRepeated}};
constexpr ElementRule kLocalNameSpacePath = {.name = "LOCALNAMESPACEPATH",
                                             .children = kLocalNameSpacePathChildren};
constexpr ChildRule kNameSpacePathChildren[] = {{&kHost}, {&kLocalNameSpacePath}};
constexpr ElementRule kNameSpacePath = {
    .name = "NAMESPACEPATH", .children = kNameSpacePathChildren, .minSingles = 2, .maxSingles = 2};

constexpr ChildRule kKeyBindingChildren[] = {{&kKeyValueRule}, {&kReferenceRule}};
constexpr ElementRule kKeyBinding = {.name = "KEYBINDING",
                                     .attributes = kName,
                                     .children = kKeyBindingChildren,
                                     .minSingles = 1,
                                     .maxSingles = 1};
constexpr ChildRule kInstanceNameChildren[] = {
    {&kKeyBinding, kRepeated}, {&kKeyValueRule}, {&kReferenceRule}};

constexpr ChildRule kInstancePathChildren[] = {{&kNameSpacePath}, {&kInstanceNameRule}};
constexpr ElementRule kInstancePath = {
    .name = "INSTANCEPATH", .children = kInstancePathChildren, .minSingles = 2, .maxSingles = 2};
constexpr ChildRule kLocalInstancePathChildren[] = {{&kLocalNameSpacePath}, {&kInstanceNameRule}};
constexpr ElementRule kLocalInstancePath = {.name = "LOCALINSTANCEPATH",
                                            .children = kLocalInstancePathChildren,
                                            .minSingles = 2,
                                            .maxSingles = 2};
constexpr ChildRule kClassPathChildren[] = {{&kNameSpacePath}, {&kClassNameRule}};
constexpr ElementRule kClassPath = {
    .name = "CLASSPATH", .children = kClassPathChildren, .minSingles = 2, .maxSingles = 2};
constexpr ChildRule kLocalClassPathChildren[] = {{&kLocalNameSpacePath}, {&kClassNameRule}};
constexpr ElementRule kLocalClassPath = {.name = "LOCALCLASSPATH",
                                         .children = kLocalClassPathChildren,
                                         .minSingles = 2,
                                         .maxSingles = 2};
constexpr ChildRule kObjectPathChildren[] = {{&kInstancePath}, {&kClassPath}};
constexpr ElementRule kObjectPath = {
    .name = "OBJECTPATH", .children = kObjectPathChildren, .minSingles = 1, .maxSingles = 1};

constexpr ChildRule kReferenceChildren[] = {{&kInstanceNameRule},  {&kInstancePath},
                                            {&kLocalInstancePath}, {&kClassNameRule},
                                            {&kClassPath},         {&kLocalClassPath}};

constexpr ChildRule kArrayChildren[] = {{&kValue, kRepeated}, {&kNullValue, kRepeated}};
constexpr ElementRule kArray = {.name = "VALUE.ARRAY", .children = kArrayChildren};
constexpr ChildRule kReferenceArrayChildren[] = {{&kReferenceRule, kRepeated},
                                                 {&kNullValue, kRepeated}};
constexpr ElementRule kReferenceArray = {.name = "VALUE.REFARRAY",
                                         .children = kReferenceArrayChildren};

constexpr ChildRule kQualifierChildren[] = {{&kValue}, {&kArray}};
constexpr ElementRule kQualifier = {
    .name = "QUALIFIER", .attributes = kTypedName, .children = kQualifierChildren, .maxSingles = 1};

constexpr ChildRule kPropertyChildren[] = {{&kValue}, {&kQualifier, kRepeated}};
constexpr ElementRule kProperty = {
    .name = "PROPERTY", .attributes = kTypedName, .children = kPropertyChildren, .maxSingles = 1};
constexpr ChildRule kPropertyArrayChildren[] = {{&kArray}, {&kQualifier, kRepeated}};
constexpr ElementRule kPropertyArray = {.name = "PROPERTY.ARRAY",
                                        .attributes = kArrayName,
                                        .children = kPropertyArrayChildren,
                                        .maxSingles = 1};
constexpr ChildRule kPropertyReferenceChildren[] = {{&kReferenceRule}, {&kQualifier, kRepeated}};
constexpr ElementRule kPropertyReference = {.name = "PROPERTY.REFERENCE",
                                            .attributes = kName,
                                            .children = kPropertyReferenceChildren,
                                            .maxSingles = 1};

constexpr ChildRule kInstanceChildren[] = {{&kProperty, kRepeated},
                                           {&kPropertyArray, kRepeated},
                                           {&kPropertyReference, kRepeated},
                                           {&kQualifier, kRepeated}};

constexpr ChildRule kParameterChildren[] = {{&kQualifier, kRepeated}};
constexpr ElementRule kParameter = {
    .name = "PARAMETER", .attributes = kTypedName, .children = kParameterChildren};
constexpr ElementRule kParameterReference = {
    .name = "PARAMETER.REFERENCE", .attributes = kName, .children = kParameterChildren};
constexpr ElementRule kParameterArray = {
    .name = "PARAMETER.ARRAY", .attributes = kArrayName, .children = kParameterChildren};
constexpr AttributeRule kReferenceArrayName[] = {{"NAME", Attribute::Name},
                                                 {"ARRAYSIZE", Attribute::Number}};
constexpr ElementRule kParameterReferenceArray = {.name = "PARAMETER.REFARRAY",
                                                  .attributes = kReferenceArrayName,
                                                  .children = kParameterChildren};
constexpr ChildRule kMethodChildren[] = {{&kQualifier, kRepeated},
                                         {&kParameter, kRepeated},
                                         {&kParameterReference, kRepeated},
                                         {&kParameterArray, kRepeated},
                                         {&kParameterReferenceArray, kRepeated}};
constexpr ElementRule kMethod = {
    .name = "METHOD", .attributes = kMethodName, .children = kMethodChildren};
constexpr ChildRule kClassChildren[] = {{&kQualifier, kRepeated},
                                        {&kProperty, kRepeated},
                                        {&kPropertyArray, kRepeated},
                                        {&kPropertyReference, kRepeated},
                                        {&kMethod, kRepeated}};

constexpr ChildRule kNamedInstanceChildren[] = {{&kInstanceNameRule}, {&kInstanceRule}};
constexpr ElementRule kNamedInstance = {.name = "VALUE.NAMEDINSTANCE",
                                        .children = kNamedInstanceChildren,
                                        .minSingles = 2,
                                        .maxSingles = 2};
constexpr ChildRule kInstanceWithPathChildren[] = {{&kInstancePath}, {&kInstanceRule}};
constexpr ElementRule kInstanceWithPath = {.name = "VALUE.INSTANCEWITHPATH",
                                           .children = kInstanceWithPathChildren,
                                           .minSingles = 2,
                                           .maxSingles = 2};
constexpr ChildRule kObjectChildren[] = {{&kInstanceRule}, {&kClassRule}};
constexpr ElementRule kObject = {
    .name = "VALUE.OBJECT", .children = kObjectChildren, .minSingles = 1, .maxSingles = 1};
constexpr ChildRule kObjectWithPathChildren[] = {
    {&kInstancePath}, {&kInstanceRule}, {&kClassPath}, {&kClassRule}};
constexpr ElementRule kObjectWithPath = {.name = "VALUE.OBJECTWITHPATH",
                                         .children = kObjectWithPathChildren,
                                         .minSingles = 2,
                                         .maxSingles = 2};
constexpr ChildRule kObjectWithLocalPathChildren[] = {
    {&kLocalInstancePath}, {&kInstanceRule}, {&kLocalClassPath}, {&kClassRule}};
constexpr ElementRule kObjectWithLocalPath = {.name = "VALUE.OBJECTWITHLOCALPATH",
                                              .children = kObjectWithLocalPathChildren,
                                              .minSingles = 2,
                                              .maxSingles = 2};

constexpr ElementRule kQualifierDeclaration = {.name = "QUALIFIER.DECLARATION", .isOpaque = true};

constexpr ChildRule kIntrinsicParameterChildren[] = {{&kValue},
                                                     {&kArray},
                                                     {&kReferenceRule},
                                                     {&kInstanceNameRule},
                                                     {&kClassNameRule},
                                                     {&kInstanceRule},
                                                     {&kNamedInstance},
                                                     {&kClassRule},
                                                     {&kQualifierDeclaration}};
constexpr ElementRule kIntrinsicParameter = {.name = "IPARAMVALUE",
                                             .attributes = kName,
                                             .children = kIntrinsicParameterChildren,
                                             .maxSingles = 1};
constexpr ChildRule kOperationCallChildren[] = {{&kLocalNameSpacePath},
                                                {&kIntrinsicParameter, kRepeated}};
constexpr ElementRule kOperationCall = {.name = "IMETHODCALL",
                                        .attributes = kName,
                                        .children = kOperationCallChildren,
                                        .minSingles = 1,
                                        .maxSingles = 1};

constexpr ChildRule kMethodValueChildren[] = {
    {&kValue}, {&kArray}, {&kReferenceRule}, {&kReferenceArray}};
constexpr ElementRule kMethodParameter = {.name = "PARAMVALUE",
                                          .attributes = kParameterName,
                                          .children = kMethodValueChildren,
                                          .maxSingles = 1};
constexpr ChildRule kMethodCallChildren[] = {
    {&kLocalInstancePath}, {&kLocalClassPath}, {&kMethodParameter, kRepeated}};
constexpr ElementRule kMethodCall = {.name = "METHODCALL",
                                     .attributes = kName,
                                     .children = kMethodCallChildren,
                                     .minSingles = 1,
                                     .maxSingles = 1};
constexpr ChildRule kRequestChildren[] = {{&kOperationCall}, {&kMethodCall}};
constexpr ElementRule kRequest = {
    .name = "SIMPLEREQ", .children = kRequestChildren, .minSingles = 1, .maxSingles = 1};
constexpr ElementRule kMultiRequest = {.name = "MULTIREQ", .isOpaque = true};

constexpr ChildRule kErrorChildren[] = {{&kInstanceRule, kRepeated}};
constexpr ElementRule kError = {
    .name = "ERROR", .attributes = kErrorCode, .children = kErrorChildren};
constexpr ElementRule kMethodReturn = {.name = "RETURNVALUE",
                                       .attributes = kReturnType,
                                       .children = kMethodValueChildren,
                                       .maxSingles = 1};
constexpr ChildRule kReturnValuesChildren[] = {{&kNamedInstance, kRepeated},
                                               {&kInstanceRule, kRepeated},
                                               {&kInstanceNameRule, kRepeated},
                                               {&kInstancePath, kRepeated},
                                               {&kObjectPath, kRepeated},
                                               {&kObjectWithPath, kRepeated},
                                               {&kInstanceWithPath, kRepeated},
                                               {&kObject, kRepeated},
                                               {&kObjectWithLocalPath, kRepeated},
                                               {&kClassRule, kRepeated},
                                               {&kClassNameRule, kRepeated},
                                               {&kValue, kRepeated},
                                               {&kArray, kRepeated},
                                               {&kReferenceRule, kRepeated}};
constexpr ChildRule kOperationResponseChildren[] = {
    {&kReturnValuesRule}, {&kMethodParameter, kRepeated}, {&kError, kRepeated}};
constexpr ChildRule kMethodResponseChildren[] = {
    {&kMethodReturn}, {&kMethodParameter, kRepeated}, {&kError, kRepeated}};

constexpr ChildRule kDeclarationGroupChildren[] = {
    {&kLocalNameSpacePath}, {&kQualifierDeclaration, kRepeated}, {&kObject, kRepeated}};
constexpr ElementRule kDeclarationGroup = {
    .name = "DECLGROUP", .children = kDeclarationGroupChildren, .maxSingles = 1};
constexpr ChildRule kDeclarationChildren[] = {{&kDeclarationGroup, kRepeated}};
constexpr ElementRule kDeclaration = {.name = "DECLARATION", .children = kDeclarationChildren};

constexpr ChildRule kMessageChildren[] = {{&kRequest}, {&kMultiRequest}};
constexpr ElementRule kMessageRule = {.name = "MESSAGE",
                                      .attributes = kMessage,
                                      .children = kMessageChildren,
                                      .minSingles = 1,
                                      .maxSingles = 1};
constexpr ChildRule kCimChildren[] = {{&kMessageRule}, {&kDeclaration}};

} // namespace

constexpr ElementRule kReferenceRule = {
    .name = "VALUE.REFERENCE", .children = kReferenceChildren, .minSingles = 1, .maxSingles = 1};
constexpr ElementRule kInstanceNameRule = {.name = "INSTANCENAME",
                                           .attributes = kClassName,
                                           .children = kInstanceNameChildren,
                                           .maxSingles = 1};
constexpr ElementRule kInstanceRule = {
    .name = "INSTANCE", .attributes = kClassName, .children = kInstanceChildren};
constexpr ElementRule kClassRule = {
    .name = "CLASS", .attributes = kName, .children = kClassChildren};
constexpr ElementRule kReturnValuesRule = {.name = "IRETURNVALUE",
                                           .children = kReturnValuesChildren};
constexpr ElementRule kOperationResponseRule = {.name = "IMETHODRESPONSE",
                                                .attributes = kName,
                                                .children = kOperationResponseChildren,
                                                .maxSingles = 1};
constexpr ElementRule kMethodResponseRule = {.name = "METHODRESPONSE",
                                             .attributes = kName,
                                             .children = kMethodResponseChildren,
                                             .maxSingles = 1};
constexpr ElementRule kCimRule = {.name = "CIM",
                                  .attributes = kVersions,
                                  .children = kCimChildren,
                                  .minSingles = 1,
                                  .maxSingles = 1};

} // namespace cimxml
