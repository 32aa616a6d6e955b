#include "VelmoraCommon/detect/system/GMDiskIDImpl.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "VelmoraCommon/detect/system/internal/DriveCommands.h"
#include "VelmoraCommon/detect/system/internal/SystemVersion.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{
namespace
{

// Words of an identify record.
constexpr int generalWord = 0;
constexpr unsigned short fixedBit = 1 << 6;
constexpr int firstSerialWord = 10;
constexpr int lastSerialWord = 19;
constexpr int modelWord = 27;

constexpr std::size_t longestText = 1023;

ScopedFile OpenDrive(wchar_t const * format, unsigned int number, DWORD access, DWORD share)
{
    return ScopedFile(CreateFileW(GMStringUtils::FormatResult(format, number).c_str(), access,
                                  share, nullptr, OPEN_EXISTING, 0, nullptr));
}

ScopedFile OpenPhysicalDrive(unsigned int number, DWORD access, DWORD share)
{
    return OpenDrive(L"\\\\.\\PhysicalDrive%u", number, access, share);
}

bool Control(ScopedFile const & drive, DWORD code, void * in, DWORD inSize, void * out,
             DWORD outSize)
{
    DWORD returned = 0;
    return DeviceIoControl(drive.Get(), code, in, inSize, out, outSize, &returned, nullptr) !=
           FALSE;
}

/// The buffers of the drivers are aligned for words, and so are the places of records in them.
unsigned short * WordsAt(BYTE * record) { return reinterpret_cast<unsigned short *>(record); }

/// Raises the priority of the process for a scope; what it was before isn't kept.
class HighestPriority
{
public:
    HighestPriority() { SetPriorityClass(GetCurrentProcess(), REALTIME_PRIORITY_CLASS); }
    ~HighestPriority() { SetPriorityClass(GetCurrentProcess(), NORMAL_PRIORITY_CLASS); }
    HighestPriority(HighestPriority const &) = delete;
    HighestPriority & operator=(HighestPriority const &) = delete;
};

/// Of a digit as drives write it; 0 for any other character.
unsigned int DigitValue(char digit)
{
    if (digit >= '1' && digit <= '9')
        return static_cast<unsigned int>(digit - '0');
    return digit >= 'a' && digit <= 'f' ? static_cast<unsigned int>(digit - 'a') + 10 : 0;
}

} // namespace

bool GMDiskIDImpl::LoadDiskInfo()
{
    constexpr int attempts = 10; // at a driver that may be busy

    m_records.clear();
    OSVERSIONINFOEXW version;
    if (!ReadSystemVersion(version))
        return false;
    if (version.dwPlatformId == VER_PLATFORM_WIN32_NT)
    {
        ReadPhysicalDriveInNTWithAdminRights();
        ReadIdeDriveAsScsiDriveInNT();
        ReadPhysicalDriveInNTUsingSmart();
    }
    else
    {
        for (int i = 0; i != attempts && ReadDrivePortsInWin9X() == 0; ++i)
            ;
    }
    return !m_records.empty();
}

unsigned int GMDiskIDImpl::GetCount() const { return static_cast<unsigned int>(m_records.size()); }

bool GMDiskIDImpl::IsFixedDriveType(unsigned int index)
{
    return (m_records[index][generalWord] & fixedBit) != 0;
}

std::string GMDiskIDImpl::SerialNumber(unsigned int index)
{
    return ConvertToString(m_records[index].data(), firstSerialWord, lastSerialWord);
}

int GMDiskIDImpl::ReadPhysicalDriveInNTWithAdminRights()
{
    int found = 0;
    for (unsigned int number = 0; number != driveCount; ++number)
    {
        ScopedFile const drive = OpenPhysicalDrive(number, GENERIC_READ | GENERIC_WRITE,
                                                   FILE_SHARE_READ | FILE_SHARE_WRITE);
        GETVERSIONINPARAMS version = {};
        if (!drive || !Control(drive, SMART_GET_VERSION, nullptr, 0, &version, sizeof version) ||
            version.bIDEDeviceMap == 0)
        {
            continue;
        }
        bool const isPacketDevice = (version.bIDEDeviceMap >> number & 0x10) != 0;
        SENDCMDINPARAMS command = {};
        command.cBufferSize = identifySize;
        command.irDriveRegs.bSectorCountReg = 1;
        command.irDriveRegs.bSectorNumberReg = 1;
        command.irDriveRegs.bDriveHeadReg = number % 2 == 0 ? 0xA0 : 0xB0;
        command.irDriveRegs.bCommandReg = isPacketDevice ? identifyPacketDevice : identifyDevice;
        command.bDriveNumber = static_cast<BYTE>(number);
        alignas(unsigned short) BYTE answer[commandHeadSize + identifySize] = {};
        if (Control(drive, SMART_RCV_DRIVE_DATA, &command, sizeof command - 1, answer,
                    sizeof answer))
        {
            AddIfNew(WordsAt(answer + commandHeadSize));
            found = 1;
        }
    }
    return found;
}

int GMDiskIDImpl::ReadIdeDriveAsScsiDriveInNT()
{
    constexpr DWORD inSize = sizeof(SRB_IO_CONTROL) + sizeof(SENDCMDINPARAMS) - 1;
    constexpr std::size_t recordAt = sizeof(SRB_IO_CONTROL) + commandHeadSize;

    int found = 0;
    for (unsigned int controller = 0; controller != driveCount; ++controller)
    {
        ScopedFile const port =
            OpenDrive(L"\\\\.\\Scsi%u:", controller, GENERIC_READ | GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE);
        if (!port)
            continue;
        for (BYTE target = 0; target != 2; ++target)
        {
            alignas(unsigned short)
                BYTE block[sizeof(SRB_IO_CONTROL) + sizeof(SENDCMDOUTPARAMS) + identifySize] = {};
            SRB_IO_CONTROL head = {};
            head.HeaderLength = sizeof head;
            std::memcpy(head.Signature, miniportSignature, sizeof head.Signature);
            head.Timeout = 10000; // the driver's unit
            head.ControlCode = miniportIdentify;
            head.Length = sizeof block - sizeof head;
            SENDCMDINPARAMS command = {};
            command.irDriveRegs.bCommandReg = identifyDevice;
            command.bDriveNumber = target;
            std::memcpy(block, &head, sizeof head);
            std::memcpy(block + sizeof head, &command, sizeof command);
            if (Control(port, miniportControl, block, inSize, block, sizeof block) &&
                block[recordAt + modelWord * sizeof(unsigned short)] != 0)
            {
                AddIfNew(WordsAt(block + recordAt));
                found = 1;
            }
        }
    }
    return found;
}

int GMDiskIDImpl::ReadPhysicalDriveInNTUsingSmart()
{
    int found = 0;
    for (unsigned int number = 0; number != driveCount; ++number)
    {
        ScopedFile const drive =
            OpenPhysicalDrive(number, GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
        GETVERSIONINPARAMS version = {};
        if (!drive || !Control(drive, SMART_GET_VERSION, nullptr, 0, &version, sizeof version))
            continue;
        alignas(unsigned short) BYTE block[sizeof(SENDCMDINPARAMS) + identifySize] = {};
        SENDCMDINPARAMS command = {};
        command.irDriveRegs.bCommandReg = identifyDevice;
        std::memcpy(block, &command, sizeof command);
        if (Control(drive, SMART_RCV_DRIVE_DATA, block, sizeof command, block, sizeof block))
        {
            AddIfNew(WordsAt(block + commandHeadSize));
            found = 1;
        }
    }
    return found;
}

int GMDiskIDImpl::ReadDrivePortsInWin9X()
{
    constexpr DWORD askDrives = 1;
    constexpr DWORD outSize = 4; // what the driver is told, whatever it fills

    HighestPriority const priority;
    alignas(unsigned short) PortDriverBlock block = {};
    {
        ScopedFile const driver(CreateFileW(L"\\\\.\\IDE21201.VXD", 0, 0, nullptr, OPEN_EXISTING,
                                            FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (!driver)
            return 0;
        Control(driver, askDrives, nullptr, 0, &block, outSize);
    }
    int found = 0;
    for (std::size_t drive = 0; drive != std::size(block.driveExists); ++drive)
    {
        if (block.driveExists[drive] == 0 || block.channelExists[drive / 2] == 0)
            continue;
        AddIfNew(WordsAt(block.records[drive]));
        found = 1;
    }
    return found;
}

int GMDiskIDImpl::ReadPhysicalDriveInNTWithZeroRights()
{
    for (unsigned int number = 0; number != driveCount; ++number)
    {
        ScopedFile const drive = OpenPhysicalDrive(number, 0, FILE_SHARE_READ | FILE_SHARE_WRITE);
        if (!drive)
            continue;
        STORAGE_PROPERTY_QUERY query = {};
        alignas(STORAGE_DEVICE_DESCRIPTOR) char answer[10000] = {};
        // The last byte stays: it ends a text that has no end of its own.
        if (Control(drive, IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof query, answer,
                    sizeof answer))
        {
            answer[sizeof answer - 1] = '\0';
            STORAGE_DEVICE_DESCRIPTOR descriptor;
            std::memcpy(&descriptor, answer, sizeof descriptor);
            if (descriptor.SerialNumberOffset < sizeof answer)
                flipAndCodeBytes(answer + descriptor.SerialNumberOffset);
        }
        Control(drive, IOCTL_STORAGE_GET_MEDIA_SERIAL_NUMBER, nullptr, 0, answer, sizeof answer);
    }
    return 0;
}

int GMDiskIDImpl::AddIfNew(unsigned short * record)
{
    Record words;
    static_assert(sizeof words == identifySize);
    std::memcpy(words.data(), record, sizeof words);
    if (std::find(m_records.begin(), m_records.end(), words) != m_records.end())
        return 0;
    m_records.push_back(words);
    return 1;
}

std::string GMDiskIDImpl::ConvertToString(unsigned short * const record, int first, int last)
{
    std::string text;
    for (int word = first; word <= last && text.size() < longestText - 1; ++word)
    {
        text += static_cast<char>(record[word] >> 8);
        text += static_cast<char>(record[word] & 0xFF);
    }
    while (text.size() > 1 && text.back() == ' ')
        text.pop_back();
    text.resize(std::strlen(text.c_str()));
    return text;
}

std::string GMDiskIDImpl::flipAndCodeBytes(char * text)
{
    std::string_view const digits(text);
    auto const digit = [digits](std::size_t at)
    { return at < digits.size() ? DigitValue(digits[at]) : 0; };
    std::string result;
    for (std::size_t group = 0; group < digits.size(); group += 4)
    {
        for (std::size_t const at : {group + 2, group})
        {
            unsigned int const byte = digit(at) * 16 + digit(at + 1);
            if (byte != 0 && result.size() < longestText)
                result += static_cast<char>(byte);
        }
    }
    return result;
}

} // namespace Velmora
