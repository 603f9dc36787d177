#include "class_refresh.h"

#include "table.h"

#include <ResourceMapper/mapping/CacheNames.h>
#include <ResourceMapper/mapping/CachedClasses.h>

#include <algorithm>
#include <set>

namespace filler {

namespace {

using cimgate::CimHandle;
using cimgate::CimStatus;
using cimgate::mapping::lower;
using cimgate::mapping::tableOf;

constexpr size_t kEnds = 2;

CMPIData propertyOf(CMPIInstance* instance, const std::string& name)
{
    CimStatus status;
    CMPIData data = instance->ft->getProperty(instance, name.c_str(), status.out());
    if (status.failed()) {
        data.state = CMPI_notFound;
    }
    return data;
}

bool isFound(const CMPIData& data)
{
    return (data.state & CMPI_notFound) == 0;
}

CimHandle<CMPIObjectPath> pathOf(CMPIInstance* instance)
{
    CimStatus status;
    return CimHandle<CMPIObjectPath>(instance->ft->getObjectPath(instance, status.out()));
}

// The keys of a path, as many as can be read.
std::vector<std::pair<std::string, CMPIData>> keysOf(CMPIObjectPath* path)
{
    std::vector<std::pair<std::string, CMPIData>> keys;
    CimStatus countStatus;
    const unsigned int count = path->ft->getKeyCount(path, countStatus.out());
    for (unsigned int i = 0; i < count; ++i) {
        CMPIString* name = nullptr;
        CimStatus status;
        const CMPIData data = path->ft->getKeyAt(path, i, &name, status.out());
        const CimHandle<CMPIString> owned(name);
        if (!status.failed() && cimgate::charsOf(name) != nullptr) {
            keys.emplace_back(cimgate::charsOf(name), data);
        }
    }
    return keys;
}

// What tells instances apart that no key column does.
Cell pathCell(CMPIInstance* instance)
{
    Cell cell;
    const CimHandle<CMPIObjectPath> path = pathOf(instance);
    if (path != nullptr) {
        for (const auto& [name, value] : keysOf(path.get())) {
            cell.bytes +=
                (cell.bytes.empty() ? "" : ",") + name + '=' + storedKeyOf(value, false).cell.bytes;
        }
    }
    cell.kind = cell.bytes.empty() ? Cell::Kind::Null : Cell::Kind::Text;
    return cell;
}

std::string textOf(const Cell& cell)
{
    return cell.kind == Cell::Kind::Integer ? std::to_string(cell.integer) : cell.bytes;
}

std::vector<std::string> namesOf(const WantedClass& wanted)
{
    std::vector<std::string> names;
    for (const WantedColumn& column : wanted.columns) {
        names.push_back(column.name);
    }
    return names;
}

size_t placeOfKey(const WantedClass& wanted)
{
    const auto key =
        std::find_if(wanted.columns.begin(), wanted.columns.end(), [&](const WantedColumn& column) {
            return lower(column.name) == lower(wanted.key);
        });
    return static_cast<size_t>(key - wanted.columns.begin());
}

bool isInteger(CMPIType type)
{
    return (type & CMPI_INTEGER) != 0 && (type & (CMPI_ARRAY | CMPI_ENC)) == 0;
}

// Makes rows of instances.
class RowMaker
{
public:
    RowMaker(const WantedClass& wanted, bool hasIntegerKey, Losses& losses)
        : mWanted(wanted),
          mKey(placeOfKey(wanted)),
          mHasIntegerKey(hasIntegerKey),
          mLosses(losses),
          mRow(wanted.columns.size()),
          mIsKnown(wanted.columns.size())
    {}

    size_t key() const { return mKey; }
    const std::vector<Cell>& row() const { return mRow; }
    std::string keyText() const { return textOf(mRow[mKey]); }
    // For each column, whether an instance had such a property.
    const std::vector<bool>& known() const { return mIsKnown; }

    // Returns false for an instance without a key, which no reader could ask for.
    bool read(CMPIInstance* instance)
    {
        if (!readKey(instance)) {
            return false;
        }
        readOthers(instance);
        return true;
    }

private:
    bool readKey(CMPIInstance* instance)
    {
        if (mWanted.key == kPathColumn) {
            mRow[mKey] = pathCell(instance);
            return mRow[mKey].kind != Cell::Kind::Null;
        }
        StoredValue key = storedKeyOf(propertyOf(instance, mWanted.key), mHasIntegerKey);
        mRow[mKey] = std::move(key.cell);
        if (key.loss != nullptr) {
            mLosses.add("an instance is left out, its key " + mWanted.key, key.loss, "");
        }
        return key.loss == nullptr;
    }

    void readOthers(CMPIInstance* instance)
    {
        for (size_t i = 0; i < mRow.size(); ++i) {
            if (i == mKey) {
                continue;
            }
            const WantedColumn& column = mWanted.columns[i];
            const CMPIData data = propertyOf(instance, column.name);
            StoredValue value = storedValueOf(data, column.reading);
            mRow[i] = std::move(value.cell);
            mIsKnown[i] = mIsKnown[i] || isFound(data);
            if (value.loss != nullptr) {
                mLosses.add("property " + column.name, value.loss, keyText());
            }
        }
    }

    const WantedClass& mWanted;
    size_t mKey;
    bool mHasIntegerKey;
    Losses& mLosses;
    std::vector<Cell> mRow;
    std::vector<bool> mIsKnown;
};

} // namespace

ClassRefresh::Outcome ClassRefresh::run(const WantedClass& wanted)
{
    Outcome outcome;
    Losses losses;
    std::optional<Instances> instances;
    if (!wanted.columns.empty()) {
        instances.emplace(ask(wanted));
    }
    std::vector<Links> links = askLinks(wanted);
    Transaction transaction(mFile.database());
    if (instances) {
        writeRows(wanted, *instances, losses, outcome);
        mFile.setReady(wanted.name);
    }
    for (Links& one : links) {
        writeLinks(one, losses, outcome);
    }
    transaction.commit();
    outcome.losses = losses.sentences();
    return outcome;
}

// One that could not be had is asked for again.
const Declaration& ClassRefresh::declarationOf(const std::string& cimClass)
{
    Declaration& known = mDeclarations[cimClass];
    if (!known) {
        known = mManager.declarationOf(cimClass);
    }
    return known;
}

Instances ClassRefresh::ask(const WantedClass& wanted)
{
    std::vector<std::string> names = namesOf(wanted);
    std::erase(names, kPathColumn);
    return mManager.instancesOf(wanted.name, names);
}

std::vector<ClassRefresh::Links> ClassRefresh::askLinks(const WantedClass& wanted)
{
    std::vector<Links> all;
    for (const std::string& association : wanted.associations) {
        (void)declarationOf(association);
        all.push_back({association, mManager.instancesOf(association, {})});
    }
    return all;
}

// A class's own list tells what it lacks, but for what only its subclasses have; instances may
// leave out what has no value.
void ClassRefresh::noteMissing(const WantedClass& wanted, const std::vector<bool>& known,
                               Losses& losses)
{
    const Declaration& declaration = declarationOf(wanted.name);
    if (!declaration) {
        return;
    }
    std::set<std::string> declared = {lower(kPathColumn)};
    for (const DeclaredProperty& property : *declaration) {
        declared.insert(lower(property.name));
    }
    for (size_t i = 0; i < wanted.columns.size(); ++i) {
        const WantedColumn& column = wanted.columns[i];
        if (!known[i] && !declared.contains(lower(column.name))) {
            losses.add("property " + column.name,
                       "the object manager's class has no such property; the entry " +
                           column.entry + " shows null",
                       "");
        }
    }
}

bool ClassRefresh::wantsIntegerKey(const WantedClass& wanted)
{
    const WantedColumn& key = wanted.columns[placeOfKey(wanted)];
    const Declaration& declaration = declarationOf(wanted.name);
    if (!showsIntegers(key.reading) || !declaration) {
        return showsIntegers(key.reading);
    }
    return std::any_of(
        declaration->begin(), declaration->end(), [&](const DeclaredProperty& property) {
            return lower(property.name) == lower(key.name) && isInteger(property.type);
        });
}

void ClassRefresh::writeRows(const WantedClass& wanted, Instances& instances, Losses& losses,
                             Outcome& outcome)
{
    const bool isIntegerWanted = wantsIntegerKey(wanted);
    const bool isNew = mFile.makeTable(wanted, isIntegerWanted);
    const bool hasIntegerKey = mFile.hasIntegerKey(wanted);
    if (hasIntegerKey != isIntegerWanted) {
        losses.add("key " + wanted.key,
                   "its column was made for another type; cimgate-cached --once --compact makes "
                   "it anew",
                   "");
    }
    RowMaker maker(wanted, hasIntegerKey, losses);
    TableRefresh table(mFile.database(), tableOf(wanted.name), namesOf(wanted), {maker.key()});
    while (CMPIInstance* const instance = instances.next()) {
        if (maker.read(instance) && !table.put(maker.row())) {
            losses.add("an instance is left out", "another one has the same key", maker.keyText());
        }
    }
    table.removeOthers();
    noteMissing(wanted, maker.known(), losses);
    outcome.rows = table.rows();
    outcome.changed += table.changed();
    if (isNew) {
        mFile.indexConditions(mPlan);
    }
}

// ---- Links ----

void ClassRefresh::writeLinks(Links& links, Losses& losses, Outcome& outcome)
{
    TableRefresh table(mFile.database(), tableOf(links.association), associationColumns(),
                       {1, 3, 0, 2});
    const std::string what = "a link of " + links.association + " is left out";
    while (CMPIInstance* const instance = links.instances.next()) {
        const std::vector<std::string> references = referencesOf(links.association, instance);
        std::vector<Cell> row;
        for (const std::string& name : references) {
            const CMPIData data = propertyOf(instance, name);
            const bool isPath = data.type == CMPI_ref && data.state != CMPI_nullValue;
            CMPIObjectPath* const path = isPath && isFound(data) ? data.value.ref : nullptr;
            CimStatus status;
            const CimHandle<CMPIString> className(
                path == nullptr ? nullptr : path->ft->getClassName(path, status.out()));
            const char* const text = cimgate::charsOf(className.get());
            const std::string key = text == nullptr ? "" : keyOf(path, text);
            if (key.empty()) {
                losses.add(what, "its " + name + " has no key by which resources go", "");
                break;
            }
            row.push_back({Cell::Kind::Text, 0, text});
            row.push_back({Cell::Kind::Text, 0, key});
        }
        if (row.size() == associationColumns().size()) {
            (void)table.put(row);
        } else if (references.size() < kEnds) {
            losses.add(what, "it has not two references", "");
        }
    }
    table.removeOthers();
    outcome.changed += table.changed();
}

// The two ends, in the order of the class; in that of the instance where the class is not told.
std::vector<std::string> ClassRefresh::referencesOf(const std::string& association,
                                                    CMPIInstance* instance)
{
    std::vector<std::string> names;
    const Declaration& declaration = declarationOf(association);
    if (declaration) {
        for (const DeclaredProperty& property : *declaration) {
            if (property.type == CMPI_ref && names.size() < kEnds) {
                names.push_back(property.name);
            }
        }
        return names;
    }
    CimStatus countStatus;
    const unsigned int count = instance->ft->getPropertyCount(instance, countStatus.out());
    for (unsigned int i = 0; i < count && names.size() < kEnds; ++i) {
        CMPIString* name = nullptr;
        CimStatus status;
        const CMPIData data = instance->ft->getPropertyAt(instance, i, &name, status.out());
        const CimHandle<CMPIString> owned(name);
        if (data.type == CMPI_ref && cimgate::charsOf(name) != nullptr) {
            names.emplace_back(cimgate::charsOf(name));
        }
    }
    return names;
}

// By which the resources of the class go; of a class that the mapping does not know, its only key,
// or the only one that is a key of resources elsewhere.
std::string ClassRefresh::keyOf(CMPIObjectPath* path, const std::string& cimClass) const
{
    const auto known = mPlan.keys.find(lower(cimClass));
    const std::string wanted = known == mPlan.keys.end() ? "" : lower(known->second);
    std::vector<std::string> candidates;
    const auto keys = keysOf(path);
    for (const auto& [name, value] : keys) {
        const bool isKey =
            std::any_of(mPlan.keys.begin(), mPlan.keys.end(),
                        [&key = name](const auto& one) { return lower(one.second) == lower(key); });
        const bool isTaken = wanted.empty() ? keys.size() == 1 || isKey : lower(name) == wanted;
        if (isTaken) {
            candidates.push_back(storedKeyOf(value, false).cell.bytes);
        }
    }
    return candidates.size() == 1 ? candidates.front() : "";
}

} // namespace filler
