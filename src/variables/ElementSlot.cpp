#include "variables/ElementSlot.h"

#include <math.h>

#include "variables/AggregateElement.h"
#include "variables/Variable.h"

// A double has 17 significant digits at most, which leaves three places for zeros.
bool ElementSlot::IsToldByText() const
{
    const double kLeast = 1e-4;
    if (IsInteger())
        return true;
    double number = real();
    return number == 0 ? !signbit(number) : fabs(number) >= kLeast;
}

void ElementSlot::SetTo(Variable* variable) const
{
    if (IsInteger())
        variable->SetValue_Integer(integer());
    else
        variable->SetValue_Double(real());
}

AggregateElement* ElementSlot::NewElement(int index) const
{
    AggregateElement* element = new AggregateElement(AggregateIndex(index));
    SetTo(element->var());
    return element;
}
