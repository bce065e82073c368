#include "workbench/base/FileHandover.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>

namespace Workbench {

namespace {

constexpr int Patience = 1000; ///< ms
constexpr qint64 MaxMessage = 1 << 20;
const QByteArray Taken = QByteArrayLiteral("taken\n");

} // namespace

FileHandover::FileHandover(QObject* ip_parent)
    : QObject(ip_parent)
{
    _server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&_server, &QLocalServer::newConnection, this, &FileHandover::_Take);
}

bool FileHandover::Send(const QString& i_name, const QStringList& i_files)
{
    QLocalSocket socket;
    socket.connectToServer(i_name);
    if (!socket.waitForConnected(Patience))
        return false;
    socket.write(QJsonDocument(QJsonArray::fromStringList(i_files)).toJson(QJsonDocument::Compact) + '\n');
    socket.flush();
    return socket.waitForReadyRead(Patience) && socket.readAll() == Taken;
}

bool FileHandover::Listen(const QString& i_name)
{
    if (_server.listen(i_name))
        return true;
    // What a window that was killed left behind: nobody answered there.
    QLocalServer::removeServer(i_name);
    return _server.listen(i_name);
}

void FileHandover::_Take()
{
    while (QLocalSocket* const socket = _server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        const auto read = [this, socket] {
            if (socket->bytesAvailable() > MaxMessage)
                return socket->abort();
            if (!socket->canReadLine())
                return;
            const auto message = QJsonDocument::fromJson(socket->readLine(MaxMessage));
            if (!message.isArray())
                return socket->abort();
            QStringList files;
            for (const auto& file : message.array())
                files << file.toString();
            files.removeAll(QString());
            socket->write(Taken);
            socket->flush();
            socket->disconnectFromServer();
            Q_EMIT Arrived(files);
        };
        connect(socket, &QLocalSocket::readyRead, this, read);
        read();
    }
}

} // namespace Workbench
