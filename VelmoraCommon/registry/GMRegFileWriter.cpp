#include "VelmoraCommon/registry/GMRegFileWriter.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMTextWriter.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/registry/internal/EscapedText.h"
#include "VelmoraCommon/registry/internal/RegFileHeader.h"

namespace Velmora
{

namespace
{

// Chinese in GBK: the file can't be made; a value can't be saved.
constexpr char cannotMakeFile[] =
    "\xD7\xA2\xB2\xE1\xB1\xED\xCE\xC4\xBC\xFE\xB4\xB4\xBD\xA8\xCA\xA7\xB0\xDC";
constexpr char cannotSaveValue[] =
    "\xB1\xA3\xB4\xE6\xD7\xA2\xB2\xE1\xB1\xED\xD6\xB5\xB3\xF6\xB4\xED";

GMFile & MakeFile(GMFile & file, GMString const & path)
{
    if (!file.Create(path, FILE_GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL))
    {
        throw std::runtime_error(cannotMakeFile);
    }
    return file;
}

std::wstring_view HeaderText(GMRegFileType type)
{
    switch (type)
    {
    case GMRegFileTypeRegedit4:
        return regedit4Header;
    case GMRegFileTypeVersion5:
        return version5Header;
    default:
        return {};
    }
}

/// Appends the left side of a value's line.
void AppendName(GMString & text, GMString const & name)
{
    if (name.empty())
    {
        text += L'@';
        return;
    }
    text += L'"';
    AppendEscaped(text, name);
    text += L'"';
}

} // namespace

/// The target and the text that is on its way there. Lines are gathered into pieces, since each
/// piece costs a system call when the target is a file.
class GMRegFileWriter::State
{
public:
    State(GMString const & path, GMRegFileType type, GMString const & lineEnd)
        : m_writer(MakeFile(m_file, path), type == GMRegFileTypeVersion5, lineEnd),
          m_type(type),
          m_lineEnd(lineEnd)
    {
        WriteHeader();
    }

    State(GMBuffer<unsigned char> & buffer, GMRegFileType type, GMString const & lineEnd)
        : m_writer(buffer, type == GMRegFileTypeVersion5, lineEnd),
          m_type(type),
          m_lineEnd(lineEnd)
    {
        WriteHeader();
    }

    void WriteTree(GMRegKey const & root)
    {
        m_pending.clear();                            // a failed write may have left some
        std::vector<GMRegKey const *> keys = {&root}; // the next one last: trees may be deep
        while (!keys.empty())
        {
            GMRegKey const & key = *keys.back();
            keys.pop_back();
            AppendKey(key);
            if (key.GetRemoveFlag())
                continue;
            std::vector<GMRegKey> const & subKeys = key.GetSubKeys();
            for (auto subKey = subKeys.rbegin(); subKey != subKeys.rend(); ++subKey)
                keys.push_back(&*subKey);
        }
        WritePending();
    }

private:
    static constexpr std::size_t pieceSize = 0x8000; // units

    void WriteHeader()
    {
        m_pending = HeaderText(m_type);
        EndLine(0);
        WritePending();
    }

    void AppendKey(GMRegKey const & key)
    {
        std::size_t const begin = m_pending.size();
        m_pending += L'[';
        m_pending += key.GetRegFullPath(true);
        m_pending += L']';
        EndLine(begin);
        if (key.GetRemoveFlag())
            return;
        for (GMRegValue const & value : key.GetValues())
            AppendValue(value);
        m_pending += m_lineEnd;
    }

    void AppendValue(GMRegValue const & value)
    {
        std::size_t const begin = m_pending.size();
        AppendName(m_pending, value.GetName());
        m_pending += L'=';
        if (!value.SaveValueToLiteral(m_pending))
        {
            m_pending.resize(begin); // whole lines only
            WritePending();
            throw std::invalid_argument(cannotSaveValue);
        }
        EndLine(begin);
    }

    void EndLine(std::size_t begin)
    {
        // Into a code page a text converts up to its first NUL: that shall cost the rest of the
        // line and not of the piece.
        if (m_type != GMRegFileTypeVersion5)
            m_pending.resize(std::min(m_pending.find(L'\0', begin), m_pending.size()));
        m_pending += m_lineEnd;
        if (m_pending.size() >= pieceSize)
            WritePending();
    }

    void WritePending()
    {
        m_writer.WriteString(m_pending, false, false);
        m_pending.clear();
    }

    GMFile m_file; // closed when the target is a buffer
    GMTextWriter m_writer;
    GMRegFileType m_type;
    GMString m_lineEnd;
    GMString m_pending; // empty between two calls
};

GMRegFileWriter::GMRegFileWriter(GMString const & path, GMRegFileType type,
                                 GMString const & lineEnd)
    : m_state(std::make_unique<State>(path, type, lineEnd))
{
}

GMRegFileWriter::GMRegFileWriter(GMBuffer<unsigned char> & buffer, GMRegFileType type,
                                 GMString const & lineEnd)
    : m_state(std::make_unique<State>(buffer, type, lineEnd))
{
}

GMRegFileWriter::~GMRegFileWriter() = default;

void GMRegFileWriter::WriteRegKey(GMRegKey const & key) { m_state->WriteTree(key); }

} // namespace Velmora
