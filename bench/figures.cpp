#include "figures.h"

#include "bench_system.h"

#include <ResourceMapper.h>
#include <json/json.h>
#include <sqlite3.h>
#include <vexodlog.h>

#include <fstream>
#include <optional>
#include <stdexcept>

namespace bench {

namespace {

void check(bool isTrue, const char* what)
{
    if (!isTrue) {
        throw std::runtime_error(what);
    }
}

// ---- The library ----

// A request as the host has it before it makes a mapper.
struct Incoming
{
    explicit Incoming(const char* url) : scope(odata::Scope::ForRequest(url)), uri(scope.NewURI())
    {}

    odata::Scope scope;
    odata::URI uri;
};

void read(ResourceMapper& mapper)
{
    Json::Value body;
    const _ResourceMapperError rc =
        mapper.mIsCollection ? mapper.GetCollection(body, true) : mapper.GetInstance(body, true);
    check(rc == RM_OK, "the read failed");
    mapper.SendResponse(body);
}

class LibraryFigure : public Figure
{
public:
    explicit LibraryFigure(const char* url) : mUrl(url) {}

    void prepare() override { mIncoming.emplace(mUrl); }
    std::string answer() const override { return std::string(mIncoming->scope.GetBody()); }

protected:
    Incoming& incoming() { return *mIncoming; }

private:
    const char* mUrl;
    std::optional<Incoming> mIncoming;
};

// Read and response; the resource has been found before.
class ReadFigure : public LibraryFigure
{
public:
    using LibraryFigure::LibraryFigure;

    void prepare() override
    {
        mMapper.reset(); // before the request that it refers to
        LibraryFigure::prepare();
        mMapper.emplace(nullptr, incoming().scope, incoming().uri, false);
        check(mMapper->ParseUri(RM_METHOD_GET) == RM_OK && mMapper->IsCached(), "not in the cache");
    }
    void run() override { read(*mMapper); }

    // The text with which the library reads what it was asked for.
    std::string select(unsigned long limit, const std::string& key) const
    {
        return mMapper->GetSelectQuery(mMapper->mCimClass, limit, 0, key, "");
    }

private:
    std::optional<ResourceMapper> mMapper;
};

// All that the library does for a request.
class RequestFigure : public LibraryFigure
{
public:
    using LibraryFigure::LibraryFigure;

    void run() override
    {
        ResourceMapper mapper(nullptr, incoming().scope, incoming().uri, false);
        check(mapper.ParseUri(RM_METHOD_GET) == RM_OK, "the resource was not found");
        check(mapper.IsCached(), "not in the cache");
        read(mapper);
    }
};

// ---- The floors ----

class FloorFigure : public Figure
{
public:
    explicit FloorFigure(std::string select) : mSelect(std::move(select))
    {
        sqlite3* opened = nullptr;
        const int rc = sqlite3_open_v2(SQLInterface::DataCachePath.c_str(), &opened,
                                       SQLITE_OPEN_READONLY, nullptr);
        mDatabase.reset(opened);
        check(rc == SQLITE_OK, "cannot open the cache");
        sqlite3_busy_timeout(opened, 10000);
    }

    std::string answer() const override { return mAnswer; }

protected:
    struct Finalize
    {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

    Statement prepareSelect() const
    {
        sqlite3_stmt* statement = nullptr;
        check(sqlite3_prepare_v2(mDatabase.get(), mSelect.c_str(), static_cast<int>(mSelect.size()),
                                 &statement, nullptr) == SQLITE_OK,
              "the SELECT cannot be prepared");
        return Statement(statement);
    }

    static Json::Value cellOf(sqlite3_stmt* statement, int column)
    {
        switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            return Json::Value::Int64{sqlite3_column_int64(statement, column)};
        case SQLITE_NULL:
            return Json::Value::nullSingleton();
        default:
            const auto* text =
                reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
            return {text, text + sqlite3_column_bytes(statement, column)};
        }
    }

    static Json::Value rowOf(sqlite3_stmt* statement)
    {
        Json::Value row(Json::objectValue);
        const int columns = sqlite3_column_count(statement);
        for (int column = 0; column < columns; ++column) {
            row[sqlite3_column_name(statement, column)] = cellOf(statement, column);
        }
        return row;
    }

    void write(const Json::Value& value) { mAnswer = Json::FastWriter().write(value); }

private:
    struct Close
    {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };

    std::string mSelect;
    std::unique_ptr<sqlite3, Close> mDatabase;
    std::string mAnswer;
};

class InstanceFloor : public FloorFigure
{
public:
    using FloorFigure::FloorFigure;

    void run() override
    {
        const Statement statement = prepareSelect();
        sqlite3_bind_text(statement.get(), 1, kInstanceKey, -1, SQLITE_TRANSIENT);
        check(sqlite3_step(statement.get()) == SQLITE_ROW, "no row");
        write(rowOf(statement.get()));
    }
};

class PageFloor : public FloorFigure
{
public:
    using FloorFigure::FloorFigure;

    void run() override
    {
        const Statement statement = prepareSelect();
        Json::Value rows(Json::arrayValue);
        while (sqlite3_step(statement.get()) == SQLITE_ROW) {
            rows.append(rowOf(statement.get()));
        }
        write(rows);
    }
};

// The mapping file parsed, with nothing made of it.
class MappingFloor : public Figure
{
public:
    void run() override
    {
        std::ifstream file(ResourceMapper::RmfPath);
        check(Json::Reader().parse(file, mMapping, false), "the mapping cannot be parsed");
    }
    std::string answer() const override { return Json::FastWriter().write(mMapping); }

private:
    Json::Value mMapping;
};

std::string selectOf(const char* url, unsigned long limit, const std::string& key)
{
    ReadFigure figure(url);
    figure.prepare();
    return figure.select(limit, key);
}

} // namespace

std::unique_ptr<Figure> makeFigure(const std::string& name)
{
    if (name == "instance") {
        return std::make_unique<ReadFigure>(kInstanceUrl);
    }
    if (name == "request") {
        return std::make_unique<RequestFigure>(kInstanceUrl);
    }
    if (name == "instance_floor") {
        return std::make_unique<InstanceFloor>(selectOf(kInstanceUrl, 0, kInstanceKey));
    }
    if (name == "page") {
        return std::make_unique<ReadFigure>(kPageUrl);
    }
    if (name == "page_floor") {
        return std::make_unique<PageFloor>(selectOf(kPageUrl, kPageMembers, ""));
    }
    if (name == "mapping_floor") {
        return std::make_unique<MappingFloor>();
    }
    throw std::runtime_error("no figure " + name);
}

void checkAnswer(const std::string& name, const Figure& figure)
{
    Json::Value answer;
    check(Json::Reader().parse(figure.answer(), answer, false), "the answer is no JSON");
    if (name == "mapping_floor") {
        check(answer.isMember("VexoDisk0"), "the mapping has no VexoDisk0");
        return;
    }
    const bool isPage = name.starts_with("page");
    const Json::Value& rows = name == "page" ? answer["Members"] : answer;
    check(!isPage || rows.size() == kPageMembers, "the page has another size");
    const Json::Value& row = isPage ? rows[0U] : rows;
    check(row.isMember("SerialNumber") && row.size() >= kProperties, "properties are missing");
}

void openSystem(const std::string& directory)
{
    vexoSetThreshold(VEXO_ERROR);
    ResourceMapper::RmfPath = mappingPath(directory);
    SQLInterface::DataCachePath = cachePath(directory);
    check(LoadDatabase() == SQLITE_OK, "the cache cannot be opened");
}

} // namespace bench
