// User data blobs: raw bytes kept by the host with the scene.
#pragma once

#include "xsi_property.h"

namespace XSI {

// A property holding a block of bytes.
class UserDataBlob : public Property {
public:
    UserDataBlob();
    UserDataBlob(const CRef& ref);
    UserDataBlob(const UserDataBlob& other) = default;
    ~UserDataBlob() override;
    UserDataBlob& operator=(const UserDataBlob& other);
    UserDataBlob& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus GetValue(const unsigned char*& out_buffer, unsigned int& out_size) const;
    CStatus PutValue(const unsigned char* buffer, unsigned int size);
    bool IsEmpty() const;
    void Clear();
    unsigned int Size() const;
};

}  // namespace XSI
