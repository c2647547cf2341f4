// What object operands and property watches share: the property type each
// register bank needs, the text when a property has another type, and the
// report of a bad object pointer.
#pragma once

#include "qv_helper/qv_helper.h"
#include "vm/VM_reportError.h"

namespace KX_VMObjectTexts {

constexpr VM_ObjectDataType kBankDataType[3] = {VM_DATA_INT, VM_DATA_FLOAT, VM_DATA_OBJECT};
constexpr const char* kBankDataTypeText[3] = {
    "illegal object property datatype (int expected)",
    "illegal object property datatype (float expected)",
    "illegal object property datatype (object pointer expected)",
};

inline int illegalObjectPointer(unsigned int handle, int count) {
  return VM_reportError(VM_ERROR_ADDRESS, "illegal object pointer %x (max. address %x)", handle,
                        static_cast<unsigned int>(count));
}

}  // namespace KX_VMObjectTexts
