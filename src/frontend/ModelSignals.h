#pragma once

#include <QAbstractItemModel>

// The list models' own change signals, for bindings that watch a whole list (its count, or any
// change of it) rather than its rows.
namespace ModelSignals {

template<typename Model>
void emitOnCountChange(Model *model, void (Model::*signal)())
{
    QObject::connect(model, &QAbstractItemModel::rowsInserted, model, signal);
    QObject::connect(model, &QAbstractItemModel::rowsRemoved, model, signal);
    QObject::connect(model, &QAbstractItemModel::modelReset, model, signal);
}

template<typename Model>
void emitOnAnyChange(Model *model, void (Model::*signal)())
{
    emitOnCountChange(model, signal);
    QObject::connect(model, &QAbstractItemModel::rowsMoved, model, signal);
    QObject::connect(model, &QAbstractItemModel::dataChanged, model, signal);
}

} // namespace ModelSignals
