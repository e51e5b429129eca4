#ifndef ZEPH_VARIABLES_CLONEDVARIABLEHASH_H
#define ZEPH_VARIABLES_CLONEDVARIABLEHASH_H

#include "variables/VariableHashView.h"

// The copy of a table for an asynchronous task, which goes on with variables of its
// own: every variable that the source holds or shows is cloned.
//
//   source                    the clones live in
//   a plain table             this object
//   the system's table        a new system table, under the names given
//   a view of a plain table   a new plain table, under a copy of that table's names
//   a view of the system's    a new system table, under a copy of that table's names
//
// The names given are borrowed and have the same indices as the source's own. The new
// table and the copy of names are owned.
class ClonedVariableHash : public VariableHashView {
public:
    ClonedVariableHash(ZephApplication* application, NamePool* names, VariableHash& source);
    ~ClonedVariableHash() override;

private:
    VariableHash* m_real = nullptr;    // owned; null when it is this object
    NamePool* m_real_names = nullptr;  // owned; null when the names are those given
};

#endif
