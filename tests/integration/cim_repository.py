"""An object manager with one declaration of class and instances for a test of live reads."""

from cim_object_manager import ObjectManager, class_element, declaration, instance_element


class Class:
    """properties: name -> CIM type, "[]" behind it for an array. keys: the names of key properties."""

    def __init__(self, name, properties, keys=("InstanceID",)):
        self.name = name
        self.properties = properties
        self.keys = keys

    def elements(self, instances):
        """The declaration of the class and those of its instances, each a dictionary."""
        return [class_element(self.name, self.properties, self.keys),
                *(instance_element(self.name, {name: (self.properties[name], value) for name, value in values.items()})
                  for values in instances)]


def object_manager(cim_class, instances, **more):
    return ObjectManager({"repository.xml": declaration(cim_class.elements(instances))}, **more)
