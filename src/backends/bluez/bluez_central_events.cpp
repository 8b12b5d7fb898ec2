// How the central follows BlueZ: its object tree at start, then the signals
// that change it. Parsing happens on the bus thread, the rest on the main queue.

#include "backends/bluez/bluez_central_impl.h"
#include "backends/bluez/bluez_errors.h"
#include "backends/bluez/bluez_names.h"
#include "backends/bluez/bluez_peripheral.h"

namespace bluez = zv::detail::bluez;
using zv::detail::BluezInterfaces;
using zv::detail::BluezProperties;
using Status = ZVBluezProbe::Status;

namespace {

using RawProperties = std::map<std::string, sdbus::Variant>;
using RawInterfaces = std::map<std::string, RawProperties>;

bool isKnownInterface(const std::string &name) {
  return name == bluez::kAdapter || name == bluez::kDevice || name == bluez::kService1 ||
         name == bluez::kCharacteristic;
}

BluezInterfaces convert(const RawInterfaces &raw) {
  BluezInterfaces interfaces;
  for (const auto &[name, properties] : raw) {
    if (isKnownInterface(name)) interfaces.emplace(name, zv::detail::toBluezProperties(properties));
  }
  return interfaces;
}

} // namespace

void ZVBluezCentral::Impl::start() {
  try {
    bus = zv::detail::BluezBus::open(options.busAddress);
    std::weak_ptr<Impl> weak = weak_from_this();
    ZVRunLoop *loop = &this->loop;
    bus->watch("type='signal',sender='org.bluez',path='/',"
               "interface='org.freedesktop.DBus.ObjectManager'",
               [loop, weak](sdbus::Message &message) {
                 try {
                   sdbus::ObjectPath path;
                   message >> path;
                   if (message.getMemberName() == "InterfacesAdded") {
                     RawInterfaces raw;
                     message >> raw;
                     Impl::postTo(*loop, weak,
                                  [path = std::string(path), added = convert(raw)](Impl &self) {
                                    self.interfacesAdded(path, added);
                                  });
                   } else if (message.getMemberName() == "InterfacesRemoved") {
                     std::vector<std::string> names;
                     message >> names;
                     Impl::postTo(*loop, weak, [path = std::string(path), names](Impl &self) {
                       self.interfacesRemoved(path, names);
                     });
                   }
                 } catch (const sdbus::Error &) {
                   // Not the shape BlueZ sends: ignored.
                 }
               });
    bus->watch("type='signal',sender='org.bluez',path_namespace='/org/bluez',"
               "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
               [loop, weak](sdbus::Message &message) {
                 try {
                   std::string interface;
                   RawProperties changed;
                   std::vector<std::string> invalidated;
                   message >> interface >> changed >> invalidated;
                   if (!isKnownInterface(interface)) return;
                   Impl::postTo(*loop, weak,
                                [path = message.getPath(), interface, invalidated,
                                 properties = zv::detail::toBluezProperties(changed)](Impl &self) {
                                  self.propertiesChanged(path, interface, properties, invalidated);
                                });
                 } catch (const sdbus::Error &) {
                 }
               });
    bus->watch("type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
               "member='NameOwnerChanged',arg0='org.bluez'",
               [loop, weak](sdbus::Message &message) {
                 try {
                   std::string name, oldOwner, newOwner;
                   message >> name >> oldOwner >> newOwner;
                   Impl::postTo(*loop, weak, [appeared = !newOwner.empty()](Impl &self) {
                     self.bluezVanished();
                     if (appeared) self.requestObjects();
                   });
                 } catch (const sdbus::Error &) {
                 }
               });
    bus->start();
  } catch (const sdbus::Error &error) {
    post([status = zv::detail::statusOfBusError(error.getName()),
          detail = zv::detail::bluezError(error).localizedDescription](Impl &self) {
      self.busUnavailable(status, detail);
    });
    return;
  }
  requestObjects();
}

void ZVBluezCentral::Impl::requestObjects() {
  std::weak_ptr<Impl> weak = weak_from_this();
  ZVRunLoop *loop = &this->loop;
  bus->call(bluez::kRootPath, bluez::kObjectManager, "GetManagedObjects", {},
            [loop, weak](sdbus::MethodReply &reply, const sdbus::Error *error) {
              if (error) {
                Impl::postTo(*loop, weak,
                             [status = zv::detail::statusOfBusError(error->getName()),
                              detail = zv::detail::bluezError(*error).localizedDescription](
                                 Impl &self) { self.busUnavailable(status, detail); });
                return;
              }
              Objects objects;
              try {
                std::map<sdbus::ObjectPath, RawInterfaces> raw;
                reply >> raw;
                for (const auto &[path, interfaces] : raw) {
                  auto converted = convert(interfaces);
                  if (!converted.empty()) objects.emplace(path, std::move(converted));
                }
              } catch (const sdbus::Error &) {
              }
              Impl::postTo(*loop, weak, [objects = std::move(objects)](Impl &self) mutable {
                self.loadObjects(std::move(objects));
              });
            });
}
