// Properties.
#pragma once

#include "xsi_projectitem.h"

namespace XSI {

// A property of a scene item.
class Property : public ProjectItem {
public:
    Property();
    Property(const CRef& ref);
    Property(const Property& other) = default;
    ~Property() override;
    Property& operator=(const Property& other);
    Property& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    bool GetSingleton() const;
    bool GetBranch() const;
};

}  // namespace XSI
